autocmd BufRead,BufNewFile *.marl setfiletype marl
