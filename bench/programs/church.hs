rounds :: Int -> Int -> Int
rounds n x = if n == 0 then x else rounds (n - 1) (two (two (two two two two next)) x)

two :: (a -> a) -> a -> a
two f x = let y = f x in y `seq` f y

next :: Int -> Int
next n = n `seq` n + 1

main = print (rounds 2 0)
