let rec count n = if n = 0 then n else count (n - 1)

let () = Printf.printf "%d\n" (count 1000000)
