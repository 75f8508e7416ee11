local function build(n, l)
  while n ~= 0 do
    n, l = n - 1, {n % 1000, l}
  end
  return l
end

local function total(l, s)
  while l do
    s, l = s + l[1], l[2]
  end
  return s
end

print(total(build(1000000, nil), 0))
