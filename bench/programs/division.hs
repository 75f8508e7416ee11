main = do
  let n = 3 ^ 20000 :: Integer
  let m = 7 ^ 9000 :: Integer
  print (n `quot` m)
  print (n `rem` m)
