def grow(n, x, t):
    while n != 0:
        n, x, t = n - 1, x * 1103 % 1000003, insert(x, t)
    return t


def insert(x, t):
    if t is None:
        return (x, None, None)
    v, l, r = t
    if x < v:
        return (v, insert(x, l), r)
    if v < x:
        return (v, l, insert(x, r))
    return t


def digest(t, d):
    if t is None:
        return d
    v, l, r = t
    return digest(r, (digest(l, d) * 31 + v) % 1000003)


print(digest(grow(20000, 12345, None), 0))
