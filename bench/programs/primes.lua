local function from(n)
  return {n, function() return from(n + 1) end}
end

local function sift(p, l)
  while l[1] % p == 0 do
    l = l[2]()
  end
  return {l[1], function() return sift(p, l[2]()) end}
end

local function sieve(l)
  return {l[1], function() return sieve(sift(l[1], l[2]())) end}
end

local function total(n, s, l)
  while n ~= 1 do
    n, s, l = n - 1, s + l[1], l[2]()
  end
  return s + l[1]
end

print(total(1000, 0, sieve(from(2))))
