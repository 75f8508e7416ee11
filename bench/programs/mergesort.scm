(define (draw n x)
  (if (= n 0) '() (cons x (draw (- n 1) (modulo (* x 1103) 1000003)))))

(define (halve l a b f)
  (if (null? l) (f a b) (halve (cdr l) b (cons (car l) a) f)))

(define (merge a b)
  (cond ((null? a) b)
        ((null? b) a)
        ((< (car b) (car a)) (cons (car b) (merge a (cdr b))))
        (else (cons (car a) (merge (cdr a) b)))))

(define (sort l)
  (if (or (null? l) (null? (cdr l)))
      l
      (halve l '() '() (lambda (a b) (merge (sort a) (sort b))))))

(define (digest d l)
  (if (null? l) d (digest (modulo (+ (* d 31) (car l)) 1000003) (cdr l))))

(display (digest 0 (sort (draw 20000 12345))))
(newline)
