def ways(k, b):
    return 1 if k == 0 else place(k, 9, b)


def place(k, c, b):
    if c == 0:
        return 0
    return (ways(k - 1, (c, b)) if safe(c, 1, b) else 0) + place(k, c - 1, b)


def safe(c, d, b):
    while b is not None:
        h, b = b
        if h == c or h == c + d or h == c - d:
            return False
        d = d + 1
    return True


print(ways(9, None))
