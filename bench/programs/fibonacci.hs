fibs :: Int -> Integer -> Integer -> Integer
fibs n a b = a `seq` if n == 0 then a else fibs (n - 1) b (a + b)

main = print (fibs 20000 0 1)
