local function two(f)
  return function(x) return f(f(x)) end
end

local function following(n)
  return n + 1
end

local function rounds(n, x)
  while n ~= 0 do
    n, x = n - 1, two(two(two(two)(two)(two)(following)))(x)
  end
  return x
end

print(rounds(2, 0))
