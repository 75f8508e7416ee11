local function digest(s, i, d)
  while i ~= #s do
    i = i + 1
    d = (d * 31 + s:byte(i)) % 1000003
  end
  return d
end

print(digest(("The quick brown fox jumps over the lazy dog."):rep(4000), 0, 0))
