(define (grow n x t)
  (if (= n 0) t (grow (- n 1) (modulo (* x 1103) 1000003) (insert x t))))

(define (insert x t)
  (if (null? t)
      (cons x (cons '() '()))
      (let ((v (car t)) (l (cadr t)) (r (cddr t)))
        (cond ((< x v) (cons v (cons (insert x l) r)))
              ((< v x) (cons v (cons l (insert x r))))
              (else t)))))

(define (digest t d)
  (if (null? t)
      d
      (digest (cddr t) (modulo (+ (* (digest (cadr t) d) 31) (car t)) 1000003))))

(display (digest (grow 20000 12345 '()) 0))
(newline)
