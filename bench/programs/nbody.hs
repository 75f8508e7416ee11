data Body = Body !Double !Double !Double !Double !Double

bodies :: [Body]
bodies =
  [ Body 39.47 0 0 0 0,
    Body 0.03769 4.841 0.01 0.606 2.811,
    Body 0.01128 8.343 4.124 1.010 1.826,
    Body 0.00172 12.89 15.11 1.082 0.8687,
    Body 0.00203 15.37 25.92 0.9790 0.5946
  ]

dt :: Double
dt = 0.01

run :: Int -> [Body] -> [Body]
run n l = if n == 0 then l else let k = move l l in force k `seq` run (n - 1) k

force :: [Body] -> ()
force [] = ()
force (h : t) = h `seq` force t

move :: [Body] -> [Body] -> [Body]
move a [] = []
move a (Body m x y u v : t) = pull a m x y u v : move a t

pull :: [Body] -> Double -> Double -> Double -> Double -> Double -> Body
pull [] m x y u v = Body m (x + u * dt) (y + v * dt) u v
pull (Body n p q _ _ : t) m x y u v =
  let d = x - p
      e = y - q
      g = d * d + e * e
      k = n * dt / (g * sqrt g)
   in if g == 0 then pull t m x y u v else pull t m x y (u - d * k) (v - e * k)

energy :: Double -> [Body] -> Double
energy s [] = s
energy s (Body m _ _ u v : t) = energy (s + 0.5 * m * (u * u + v * v)) t

main = print (energy 0 (run 1000 bodies))
