local bodies = {
  {39.47, 0.0, 0.0, 0.0, 0.0},
  {0.03769, 4.841, 0.01, 0.606, 2.811},
  {0.01128, 8.343, 4.124, 1.010, 1.826},
  {0.00172, 12.89, 15.11, 1.082, 0.8687},
  {0.00203, 15.37, 25.92, 0.9790, 0.5946},
}

local dt = 0.01
local sqrt = math.sqrt
local unpack = table.unpack or unpack

local function pull(l, m, x, y, u, v)
  for i = 1, #l do
    local b = l[i]
    local d, e = x - b[2], y - b[3]
    local g = d * d + e * e
    if g ~= 0 then
      local k = b[1] * dt / (g * sqrt(g))
      u, v = u - d * k, v - e * k
    end
  end
  return {m, x + u * dt, y + v * dt, u, v}
end

local function run(n, l)
  while n ~= 0 do
    local moved = {}
    for i = 1, #l do
      moved[i] = pull(l, unpack(l[i]))
    end
    n, l = n - 1, moved
  end
  return l
end

local function energy(l)
  local s = 0.0
  for i = 1, #l do
    local m, _, _, u, v = unpack(l[i])
    s = s + 0.5 * m * (u * u + v * v)
  end
  return s
end

print(energy(run(1000, bodies)))
