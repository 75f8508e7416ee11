def rounds(n, x):
    while n != 0:
        n, x = n - 1, two(two(two(two)(two)(two)(following)))(x)
    return x


def two(f):
    return lambda x: f(f(x))


def following(n):
    return n + 1


print(rounds(2, 0))
