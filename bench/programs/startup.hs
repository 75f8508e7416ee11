main :: IO ()
main = return ()
