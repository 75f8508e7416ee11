list :: Int -> Int -> String
list l h =
  let m = (l + h) `div` 2
   in if l == m then show l ++ "," else list l m ++ list m h

main = putStrLn (list 0 20000)
