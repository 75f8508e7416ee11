-- grep -i -c WORD FILE: how many lines hold a word, capital letters taken for small ones.
local word, lines = arg[3]:lower(), 0
for line in io.lines(arg[4]) do
  if line:lower():find(word, 1, true) then lines = lines + 1 end
end
print(lines)
