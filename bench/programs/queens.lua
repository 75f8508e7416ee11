local function safe(c, d, b)
  while b do
    local h = b[1]
    if h == c or h == c + d or h == c - d then
      return false
    end
    d, b = d + 1, b[2]
  end
  return true
end

local place

local function ways(k, b)
  return k == 0 and 1 or place(k, 9, b)
end

function place(k, c, b)
  if c == 0 then
    return 0
  end
  return (safe(c, 1, b) and ways(k - 1, {c, b}) or 0) + place(k, c - 1, b)
end

print(ways(9, nil))
