let rec upto i n = if n < i then [] else i :: upto (i + 1) n

let rec fold f z = function
  | [] -> z
  | h :: t -> fold f (f z h) t

let () = Printf.printf "%d\n" (fold ( + ) 0 (upto 1 200000))
