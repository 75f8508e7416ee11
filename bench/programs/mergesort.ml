let rec draw n x = if n = 0 then [] else x :: draw (n - 1) (x * 1103 mod 1000003)

let rec halve l a b f =
  match l with
  | [] -> f a b
  | h :: t -> halve t b (h :: a) f

let rec merge (a : int list) b =
  match a, b with
  | [], b -> b
  | a, [] -> a
  | h :: t, i :: u -> if i < h then i :: merge a u else h :: merge t b

let rec sort = function
  | ([] | [_]) as l -> l
  | l -> halve l [] [] (fun a b -> merge (sort a) (sort b))

let rec digest d = function
  | [] -> d
  | h :: t -> digest ((d * 31 + h) mod 1000003) t

let () = Printf.printf "%d\n" (digest 0 (sort (draw 20000 12345)))
