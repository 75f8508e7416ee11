-- sudoku: solves the puzzles on standard input, one a line.
local peers, counts = {}, {}
for i = 0, 80 do
  peers[i] = {}
  for j = 0, 80 do
    if i ~= j and (i // 9 == j // 9 or i % 9 == j % 9
        or (i // 27 == j // 27 and i % 9 // 3 == j % 9 // 3)) then
      table.insert(peers[i], j)
    end
  end
end
counts[0] = 0
for n = 1, 511 do counts[n] = counts[n // 2] + n % 2 end

local function set_field(board, i, bit)
  if board[i] & bit == 0 then return false end
  board[i] = bit
  for _, j in ipairs(peers[i]) do
    if board[j] & bit ~= 0 then
      board[j] = board[j] - bit
      if board[j] == 0 then return false end
      if counts[board[j]] == 1 and not set_field(board, j, board[j]) then return false end
    end
  end
  return true
end

local function solve(board)
  local field, best = nil, 10
  for i = 0, 80 do
    local c = counts[board[i]]
    if c > 1 and c < best then field, best = i, c end
  end
  if not field then return board end
  for d = 0, 8 do
    if board[field] & 1 << d ~= 0 then
      local copy = {}
      for i = 0, 80 do copy[i] = board[i] end
      if set_field(copy, field, 1 << d) then
        local found = solve(copy)
        if found then return found end
      end
    end
  end
end

local number = 0
for line in io.lines() do
  number = number + 1
  local board, good = {}, #line == 81
  for i = 0, 80 do board[i] = 511 end
  for i = 0, good and 80 or -1 do
    local c = line:sub(i + 1, i + 1)
    if c ~= "." and c ~= "0" then good = good and set_field(board, i, 1 << (tonumber(c) - 1)) end
  end
  local found = good and solve(board)
  if not good then print(number .. ": no puzzle")
  elseif not found then print(number .. ": no solution")
  else
    local digits = {}
    for i = 0, 80 do
      local d = 1
      while found[i] >> d ~= 0 do d = d + 1 end
      digits[i + 1] = d
    end
    print(table.concat(digits))
  end
end
