let rec list l h =
  let m = (l + h) / 2 in
  if l = m then string_of_int l ^ "," else list l m ^ list m h

let () = print_endline (list 0 20000)
