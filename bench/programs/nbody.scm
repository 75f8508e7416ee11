(define bodies
  '((39.47 0.0 0.0 0.0 0.0)
    (0.03769 4.841 0.01 0.606 2.811)
    (0.01128 8.343 4.124 1.010 1.826)
    (0.00172 12.89 15.11 1.082 0.8687)
    (0.00203 15.37 25.92 0.9790 0.5946)))

(define dt 0.01)

(define (run n l) (if (= n 0) l (run (- n 1) (move l l))))

(define (move a l)
  (if (null? l)
      '()
      (cons (apply (lambda (m x y u v) (pull a m x y u v)) (car l)) (move a (cdr l)))))

(define (pull l m x y u v)
  (if (null? l)
      (list m (+ x (* u dt)) (+ y (* v dt)) u v)
      (apply
       (lambda (n p q r s)
         (let* ((d (- x p)) (e (- y q)) (g (+ (* d d) (* e e))))
           (if (= g 0.0)
               (pull (cdr l) m x y u v)
               (let ((k (/ (* n dt) (* g (sqrt g)))))
                 (pull (cdr l) m x y (- u (* d k)) (- v (* e k)))))))
       (car l))))

(define (energy s l)
  (if (null? l)
      s
      (energy
       (+ s (apply (lambda (m x y u v) (* 0.5 m (+ (* u u) (* v v)))) (car l)))
       (cdr l))))

(display (energy 0.0 (run 1000 bodies)))
(newline)
