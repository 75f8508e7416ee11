(define (build n l) (if (= n 0) l (build (- n 1) (cons (modulo n 1000) l))))

(define (total l s) (if (null? l) s (total (cdr l) (+ s (car l)))))

(display (total (build 1000000 '()) 0))
(newline)
