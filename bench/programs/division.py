import sys

if hasattr(sys, "set_int_max_str_digits"):
    sys.set_int_max_str_digits(0)

n = 3**20000
m = 7**9000
print(n // m)
print(n % m)
