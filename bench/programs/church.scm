(define (rounds n x)
  (if (= n 0) x (rounds (- n 1) ((two (two ((((two two) two) two) next))) x))))

(define (two f) (lambda (x) (f (f x))))

(define (next n) (+ n 1))

(display (rounds 2 0))
(newline)
