def fill(a, i):
    while i != 200000:
        a[i] = i % 1000
        i = i + 1
    return a


def total(a, i, s):
    while i != 200000:
        s = s + a[i]
        i = i + 1
    return s


print(total(fill([0] * 200000, 0), 0, 0))
