def build(n, l):
    while n != 0:
        n, l = n - 1, (n % 1000, l)
    return l


def total(l, s):
    while l is not None:
        s = s + l[0]
        l = l[1]
    return s


print(total(build(1000000, None), 0))
