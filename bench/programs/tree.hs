data Tree = Empty | Node !Int !Tree !Tree

grow :: Int -> Int -> Tree -> Tree
grow n x t = if n == 0 then t else t `seq` grow (n - 1) (x * 1103 `mod` 1000003) (insert x t)

insert :: Int -> Tree -> Tree
insert x Empty = Node x Empty Empty
insert x t@(Node v l r) =
  if x < v then Node v (insert x l) r else if v < x then Node v l (insert x r) else t

digest :: Tree -> Int -> Int
digest Empty d = d
digest (Node v l r) d = let e = (digest l d * 31 + v) `mod` 1000003 in e `seq` digest r e

main = print (digest (grow 20000 12345 Empty) 0)
