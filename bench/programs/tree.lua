local function insert(x, t)
  if not t then
    return {x, nil, nil}
  end
  local v, l, r = t[1], t[2], t[3]
  if x < v then
    return {v, insert(x, l), r}
  elseif v < x then
    return {v, l, insert(x, r)}
  end
  return t
end

local function grow(n, x, t)
  while n ~= 0 do
    n, x, t = n - 1, x * 1103 % 1000003, insert(x, t)
  end
  return t
end

local function digest(t, d)
  if not t then
    return d
  end
  return digest(t[3], (digest(t[2], d) * 31 + t[1]) % 1000003)
end

print(digest(grow(20000, 12345, nil), 0))
