(define (deep n) (if (= n 0) 0 (+ 1 (deep (- n 1)))))

(display (deep 1000000))
(newline)
