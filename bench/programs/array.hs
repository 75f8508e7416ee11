import Data.Array.IO

fill :: IOArray Int Int -> Int -> IO ()
fill a i = if i == 200000 then return () else (writeArray a i $! i `mod` 1000) >> fill a (i + 1)

total :: IOArray Int Int -> Int -> Int -> IO Int
total a i s =
  s `seq` if i == 200000 then return s else readArray a i >>= \x -> total a (i + 1) (s + x)

main = do
  a <- newArray (0, 200000 - 1) 0
  fill a 0
  s <- total a 0 0
  print s
