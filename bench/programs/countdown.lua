local function count(n)
  while n ~= 0 do
    n = n - 1
  end
  return n
end

print(count(1000000))
