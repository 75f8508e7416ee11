-- life -g N: the game of life on a field without borders, from a pattern on standard input.
local SHIFT, HALF = 1048576, 524288
local around = {-1048577, -1048576, -1048575, -1, 1, 1048575, 1048576, 1048577}
local count, living, y = tonumber(arg[2]), {}, 0
for line in io.lines() do
  for x = 1, #line do
    if line:byte(x) == 79 then living[(y + HALF) * SHIFT + x - 1 + HALF] = true end
  end
  y = y + 1
end
for _ = 1, count do
  local neighbours, born = {}, {}
  for cell in pairs(living) do
    for _, d in ipairs(around) do neighbours[cell + d] = (neighbours[cell + d] or 0) + 1 end
  end
  for cell, n in pairs(neighbours) do
    if n == 3 or (n == 2 and living[cell]) then born[cell] = true end
  end
  living = born
end
local cells, left, right, top, bottom = 0
for cell in pairs(living) do
  local x, row = cell % SHIFT - HALF, cell // SHIFT - HALF
  cells = cells + 1
  left, right = math.min(left or x, x), math.max(right or x, x)
  top, bottom = math.min(top or row, row), math.max(bottom or row, row)
end
print(string.format("generation %d: %d cells", count, cells))
if cells > 0 then
  for row = top, bottom do
    local line = {}
    for x = left, right do
      line[#line + 1] = living[(row + HALF) * SHIFT + x + HALF] and "O" or "."
    end
    print(table.concat(line))
  end
end
