type tree = Empty | Node of int * tree * tree

let rec insert x = function
  | Empty -> Node (x, Empty, Empty)
  | Node (v, l, r) as t ->
    if x < v then Node (v, insert x l, r)
    else if v < x then Node (v, l, insert x r)
    else t

let rec grow n x t = if n = 0 then t else grow (n - 1) (x * 1103 mod 1000003) (insert x t)

let rec digest t d =
  match t with
  | Empty -> d
  | Node (v, l, r) -> digest r ((digest l d * 31 + v) mod 1000003)

let () = Printf.printf "%d\n" (digest (grow 20000 12345 Empty) 0)
