let rec deep n = if n = 0 then 0 else 1 + deep (n - 1)

let () = Printf.printf "%d\n" (deep 1000000)
