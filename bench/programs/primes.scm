(define (from n) (cons n (lambda () (from (+ n 1)))))

(define (sieve l) (cons (car l) (lambda () (sieve (sift (car l) ((cdr l)))))))

(define (sift p l)
  (if (= (modulo (car l) p) 0)
      (sift p ((cdr l)))
      (cons (car l) (lambda () (sift p ((cdr l)))))))

(define (total n s l)
  (if (= n 1) (+ s (car l)) (total (- n 1) (+ s (car l)) ((cdr l)))))

(display (total 1000 0 (sieve (from 2))))
(newline)
