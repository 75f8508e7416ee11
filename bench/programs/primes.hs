from :: Int -> [Int]
from n = n : from (n + 1)

sieve :: [Int] -> [Int]
sieve (p : t) = p : sieve (sift p t)

sift :: Int -> [Int] -> [Int]
sift p (h : t) = if h `mod` p == 0 then sift p t else h : sift p t

total :: Int -> Int -> [Int] -> Int
total n s (h : t) = let r = s + h in r `seq` if n == 1 then r else total (n - 1) r t

main = print (total 1000 0 (sieve (from 2)))
