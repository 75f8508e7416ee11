upto :: Integer -> Integer -> [Integer]
upto i n = if n < i then [] else i : upto (i + 1) n

fold :: (b -> a -> b) -> b -> [a] -> b
fold f z [] = z
fold f z (h : t) = let y = f z h in y `seq` fold f y t

main = print (fold (+) 0 (upto 1 200000))
