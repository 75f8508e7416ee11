type body = { m : float; x : float; y : float; u : float; v : float }

let bodies =
  [ { m = 39.47; x = 0.; y = 0.; u = 0.; v = 0. };
    { m = 0.03769; x = 4.841; y = 0.01; u = 0.606; v = 2.811 };
    { m = 0.01128; x = 8.343; y = 4.124; u = 1.010; v = 1.826 };
    { m = 0.00172; x = 12.89; y = 15.11; u = 1.082; v = 0.8687 };
    { m = 0.00203; x = 15.37; y = 25.92; u = 0.9790; v = 0.5946 } ]

let dt = 0.01

let rec pull l b u v =
  match l with
  | [] -> { b with x = b.x +. u *. dt; y = b.y +. v *. dt; u; v }
  | a :: t ->
    let d = b.x -. a.x and e = b.y -. a.y in
    let g = d *. d +. e *. e in
    if g = 0. then pull t b u v
    else
      let k = a.m *. dt /. (g *. sqrt g) in
      pull t b (u -. d *. k) (v -. e *. k)

let move l = List.map (fun b -> pull l b b.u b.v) l

let rec run n l = if n = 0 then l else run (n - 1) (move l)

let energy l =
  List.fold_left (fun s b -> s +. 0.5 *. b.m *. (b.u *. b.u +. b.v *. b.v)) 0. l

let () = Printf.printf "%.6e\n" (energy (run 1000 bodies))
