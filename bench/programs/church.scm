(define (two f) (lambda (x) (f (f x))))

(define (next n) (+ n 1))

(display ((two (two (two ((((two two) two) two) next)))) 0))
(newline)
