from math import sqrt

bodies = [
    (39.47, 0.0, 0.0, 0.0, 0.0),
    (0.03769, 4.841, 0.01, 0.606, 2.811),
    (0.01128, 8.343, 4.124, 1.010, 1.826),
    (0.00172, 12.89, 15.11, 1.082, 0.8687),
    (0.00203, 15.37, 25.92, 0.9790, 0.5946),
]

dt = 0.01


def run(n, l):
    while n != 0:
        n, l = n - 1, [pull(l, *b) for b in l]
    return l


def pull(l, m, x, y, u, v):
    for n, p, q, _, _ in l:
        d = x - p
        e = y - q
        g = d * d + e * e
        if g != 0:
            k = n * dt / (g * sqrt(g))
            u = u - d * k
            v = v - e * k
    return (m, x + u * dt, y + v * dt, u, v)


def energy(l):
    s = 0.0
    for m, _, _, u, v in l:
        s = s + 0.5 * m * (u * u + v * v)
    return s


print(energy(run(1000, bodies)))
