let rec safe c d = function
  | [] -> true
  | h :: t -> if h = c || h = c + d || h = c - d then false else safe c (d + 1) t

let rec ways k b = if k = 0 then 1 else place k 9 b

and place k c b =
  if c = 0 then 0
  else (if safe c 1 b then ways (k - 1) (c :: b) else 0) + place k (c - 1) b

let () = Printf.printf "%d\n" (ways 9 [])
