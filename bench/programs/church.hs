two :: (a -> a) -> a -> a
two f x = let y = f x in y `seq` f y

next :: Int -> Int
next n = n `seq` n + 1

main = print (two (two (two (two two two two next))) 0)
