(define (upto i n) (if (< n i) '() (cons i (upto (+ i 1) n))))

(define (fold f z l) (if (null? l) z (fold f (f z (car l)) (cdr l))))

(display (fold + 0 (upto 1 200000)))
(newline)
