ways :: Int -> [Int] -> Int
ways k b = if k == 0 then 1 else try k 9 b

try :: Int -> Int -> [Int] -> Int
try k c b = if c == 0 then 0 else (if safe c 1 b then ways (k - 1) (c : b) else 0) + try k (c - 1) b

safe :: Int -> Int -> [Int] -> Bool
safe c d [] = True
safe c d (h : t) = if h == c || h == c + d || h == c - d then False else safe c (d + 1) t

main = print (ways 9 [])
