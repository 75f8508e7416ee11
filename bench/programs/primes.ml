type stream = Cons of int * (unit -> stream)

let rec from n = Cons (n, fun () -> from (n + 1))

let rec sift p (Cons (h, t)) =
  if h mod p = 0 then sift p (t ()) else Cons (h, fun () -> sift p (t ()))

let rec sieve (Cons (p, t)) = Cons (p, fun () -> sieve (sift p (t ())))

let rec total n s (Cons (h, t)) = if n = 1 then s + h else total (n - 1) (s + h) (t ())

let () = Printf.printf "%d\n" (total 1000 0 (sieve (from 2)))
