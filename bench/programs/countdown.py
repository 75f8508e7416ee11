def count(n):
    while n != 0:
        n = n - 1
    return n


print(count(1000000))
