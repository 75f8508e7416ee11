fact :: Integer -> Integer
fact n = if n == 0 then 1 else n * fact (n - 1)

digits :: Integer -> Integer -> Integer
digits n s = s `seq` if n == 0 then s else digits (n `quot` 10) (s + n `rem` 10)

main = do
  let n = fact 2000
  print n
  print (digits n 0)
