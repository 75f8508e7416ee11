let two f x = f (f x)

let next n = n + 1

let rec rounds n x = if n = 0 then x else rounds (n - 1) (two (two (two two two two next)) x)

let () = Printf.printf "%d\n" (rounds 2 0)
