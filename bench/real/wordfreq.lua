-- wordfreq -n N FILE: the most frequent words.
local counts, words = {}, {}
for line in io.lines(arg[3]) do
  for word in line:lower():gmatch("%l+") do counts[word] = (counts[word] or 0) + 1 end
end
for word in pairs(counts) do words[#words + 1] = word end
table.sort(words, function(a, b)
  if counts[a] ~= counts[b] then return counts[a] > counts[b] end
  return a < b
end)
for i = 1, math.min(tonumber(arg[2]), #words) do
  print(string.format("%8d  %s", counts[words[i]], words[i]))
end
