count :: Int -> Int
count n = if n == 0 then n else count (n - 1)

main = print (count 1000000)
