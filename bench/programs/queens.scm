(define (ways k b) (if (= k 0) 1 (try k 9 b)))

(define (try k c b)
  (if (= c 0)
      0
      (+ (if (safe c 1 b) (ways (- k 1) (cons c b)) 0) (try k (- c 1) b))))

(define (safe c d b)
  (cond ((null? b) #t)
        ((or (= (car b) c) (= (car b) (+ c d)) (= (car b) (- c d))) #f)
        (else (safe c (+ d 1) (cdr b)))))

(display (ways 9 '()))
(newline)
