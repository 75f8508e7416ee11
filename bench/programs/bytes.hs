import Data.Char

digest :: String -> Int -> Int
digest [] d = d
digest (h : t) d = let e = (d * 31 + ord h) `mod` 1000003 in e `seq` digest t e

main = print (digest (concat (replicate 4000 "The quick brown fox jumps over the lazy dog.")) 0)
