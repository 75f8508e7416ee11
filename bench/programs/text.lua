local function list(l, h)
  local m = math.floor((l + h) / 2)
  if l == m then
    return l .. ","
  end
  return list(l, m) .. list(m, h)
end

print(list(0, 20000))
