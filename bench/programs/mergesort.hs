draw :: Int -> Int -> [Int]
draw n x = if n == 0 then [] else x `seq` x : draw (n - 1) (x * 1103 `mod` 1000003)

sort :: [Int] -> [Int]
sort [] = []
sort [h] = [h]
sort l = halve l [] [] (\a b -> merge (sort a) (sort b))

halve :: [Int] -> [Int] -> [Int] -> ([Int] -> [Int] -> [Int]) -> [Int]
halve [] a b f = f a b
halve (h : t) a b f = halve t b (h : a) f

merge :: [Int] -> [Int] -> [Int]
merge [] b = b
merge a [] = a
merge (h : t) (i : u) = if i < h then i : merge (h : t) u else h : merge t (i : u)

digest :: Int -> [Int] -> Int
digest d [] = d
digest d (h : t) = let e = (d * 31 + h) `mod` 1000003 in e `seq` digest e t

main = print (digest 0 (sort (draw 20000 12345)))
