deep :: Int -> Int
deep n = if n == 0 then 0 else 1 + deep (n - 1)

main = print (deep 1000000)
