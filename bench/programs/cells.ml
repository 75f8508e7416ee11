let rec build n l = if n = 0 then l else build (n - 1) (n mod 1000 :: l)

let rec total l s =
  match l with
  | [] -> s
  | h :: t -> total t (s + h)

let () = Printf.printf "%d\n" (total (build 1000000 []) 0)
