(define (repeat s n) (if (= n 0) '() (cons s (repeat s (- n 1)))))

(define (digest s i d)
  (if (= i (string-length s))
      d
      (digest s (+ i 1) (modulo (+ (* d 31) (char->integer (string-ref s i))) 1000003))))

(display
 (digest (apply string-append (repeat "The quick brown fox jumps over the lazy dog." 4000)) 0 0))
(newline)
