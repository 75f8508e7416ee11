-- draw and merge append to a list in place: the stack has no room for a call an element.
local function draw(n, x)
  local first = {}
  local last = first
  while n ~= 0 do
    local cell = {x}
    last[2], last = cell, cell
    n, x = n - 1, x * 1103 % 1000003
  end
  return first[2]
end

local function halve(l, a, b, f)
  while l do
    l, a, b = l[2], b, {l[1], a}
  end
  return f(a, b)
end

local function merge(a, b)
  local first = {}
  local last = first
  while a and b do
    local cell
    if b[1] < a[1] then
      cell, b = {b[1]}, b[2]
    else
      cell, a = {a[1]}, a[2]
    end
    last[2], last = cell, cell
  end
  last[2] = a or b
  return first[2]
end

local function sort(l)
  if not l or not l[2] then
    return l
  end
  return halve(l, nil, nil, function(a, b)
    return merge(sort(a), sort(b))
  end)
end

local function digest(d, l)
  while l do
    d, l = (d * 31 + l[1]) % 1000003, l[2]
  end
  return d
end

print(digest(0, sort(draw(20000, 12345))))
