let repeat s n = String.concat "" (List.init n (fun _ -> s))

let rec digest s i d =
  if i = String.length s then d
  else digest s (i + 1) ((d * 31 + Char.code s.[i]) mod 1000003)

let () = Printf.printf "%d\n" (digest (repeat "The quick brown fox jumps over the lazy dog." 4000) 0 0)
