(define (fill a i)
  (if (= i 200000)
      a
      (begin
        (vector-set! a i (modulo i 1000))
        (fill a (+ i 1)))))

(define (sum a i s)
  (if (= i 200000) s (sum a (+ i 1) (+ s (vector-ref a i)))))

(display (sum (fill (make-vector 200000 0) 0) 0 0))
(newline)
