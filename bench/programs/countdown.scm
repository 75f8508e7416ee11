(define (count n) (if (= n 0) n (count (- n 1))))

(display (count 1000000))
(newline)
