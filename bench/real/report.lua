-- report -c -b COLUMN -s COLUMN FILE: groups the rows of a table by one column and adds up another.
local by, total, path = arg[3], arg[5], arg[6]

-- The fields of a line, or of several when a field in quotes holds the line's end.
local function fields(line, next_line)
  local row, i = {}, 1
  if not line:find('"', 1, true) then
    for field in (line .. ","):gmatch("([^,]*),") do row[#row + 1] = field end
    return row
  end
  while true do
    if line:sub(i, i) == '"' then
      local text = ""
      i = i + 1
      while true do
        local j = line:find('"', i, true)
        if not j then
          text, line, i = text .. line:sub(i) .. "\n", next_line(), 1
        elseif line:sub(j + 1, j + 1) == '"' then
          text, i = text .. line:sub(i, j), j + 2
        else
          text, i = text .. line:sub(i, j - 1), j + 1
          break
        end
      end
      row[#row + 1] = text
    else
      local j = line:find(",", i, true) or #line + 1
      row[#row + 1], i = line:sub(i, j - 1), j
    end
    if line:sub(i, i) ~= "," then return row end
    i = i + 1
  end
end

local function millionths(text)
  local whole, decimals = text:match("^([+-]?%d*)%.?(%d*)$")
  return math.tointeger(tonumber(whole .. decimals .. ("0"):rep(6 - #decimals)))
end

local function shown(number)
  local size = math.abs(number)
  return string.format("%s%d.%06d", number < 0 and "-" or "", size // 1000000, size % 1000000)
end

local function quoted(text)
  if not text:find('[",\n\r]') then return text end
  return '"' .. text:gsub('"', '""') .. '"'
end

local next_line = io.lines(path)
local groups, names, key, value = {}, {}
for i, name in ipairs(fields(next_line(), next_line)) do
  if name == by then key = i end
  if name == total then value = i end
end
for line in next_line do
  local row = fields(line, next_line)
  local amount, group = millionths(row[value]), groups[row[key]]
  if group then
    group[1], group[2] = group[1] + 1, group[2] + amount
    if amount < group[3] then group[3] = amount end
    if amount > group[4] then group[4] = amount end
  else
    names[#names + 1] = row[key]
    groups[row[key]] = {1, amount, amount, amount}
  end
end
table.sort(names, function(a, b)
  if groups[a][2] ~= groups[b][2] then return groups[a][2] > groups[b][2] end
  return a < b
end)
print("group,rows,sum,mean,smallest,largest")
for _, name in ipairs(names) do
  local n, sum, low, high = table.unpack(groups[name])
  local mean = (2 * math.abs(sum) + n) // (2 * n) * (sum < 0 and -1 or 1)
  print(table.concat({quoted(name), n, shown(sum), shown(mean), shown(low), shown(high)}, ","))
end
