(define (fibs n a b) (if (= n 0) a (fibs (- n 1) b (+ a b))))

(display (fibs 20000 0 1))
(newline)
