(define (fact n) (if (= n 0) 1 (* n (fact (- n 1)))))

(define (digits n s)
  (if (= n 0) s (digits (quotient n 10) (+ s (remainder n 10)))))

(let ((n (fact 2000)))
  (display n)
  (newline)
  (display (digits n 0))
  (newline))
