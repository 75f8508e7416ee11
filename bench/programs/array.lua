local function zeros(n)
  local a = {}
  for i = 1, n do
    a[i] = 0
  end
  return a
end

local function fill(a, i)
  while i ~= 200000 do
    a[i + 1] = i % 1000
    i = i + 1
  end
  return a
end

local function sum(a, i, s)
  while i ~= 200000 do
    s = s + a[i + 1]
    i = i + 1
  end
  return s
end

print(sum(fill(zeros(200000), 0), 0, 0))
