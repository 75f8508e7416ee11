def text(l, h):
    m = (l + h) // 2
    return str(l) + "," if l == m else text(l, m) + text(m, h)


print(text(0, 20000))
