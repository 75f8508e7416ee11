build :: Int -> [Int] -> [Int]
build n l = if n == 0 then l else let x = n `mod` 1000 in x `seq` build (n - 1) (x : l)

total :: [Int] -> Int -> Int
total [] s = s
total (h : t) s = let r = s + h in r `seq` total t r

main = print (total (build 1000000 []) 0)
