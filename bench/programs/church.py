def two(f):
    return lambda x: f(f(x))


def following(n):
    return n + 1


print(two(two(two(two(two)(two)(two)(following))))(0))
