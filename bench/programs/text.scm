(define (list l h)
  (let ((m (quotient (+ l h) 2)))
    (if (= l m)
        (string-append (number->string l) ",")
        (string-append (list l m) (list m h)))))

(display (list 0 20000))
(newline)
