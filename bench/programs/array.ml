let rec fill a i =
  if i = 200000 then a
  else begin
    a.(i) <- i mod 1000;
    fill a (i + 1)
  end

let rec sum a i s = if i = 200000 then s else sum a (i + 1) (s + a.(i))

let () = Printf.printf "%d\n" (sum (fill (Array.make 200000 0) 0) 0 0)
