def digest(s, i, d):
    while i != len(s):
        d = (d * 31 + ord(s[i])) % 1000003
        i = i + 1
    return d


print(digest("The quick brown fox jumps over the lazy dog." * 4000, 0, 0))
