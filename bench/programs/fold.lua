-- From the end: the stack has no room for a call an element.
local function upto(i, n)
  local l
  while i <= n do
    l, n = {n, l}, n - 1
  end
  return l
end

local function fold(f, z, l)
  while l do
    z, l = f(z, l[1]), l[2]
  end
  return z
end

local function plus(a, b)
  return a + b
end

print(fold(plus, 0, upto(1, 200000)))
