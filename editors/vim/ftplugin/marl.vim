" Settings of Vim for marl programs: a note is a piece between commas that defines nothing.

if exists("b:did_ftplugin")
  finish
endif
let b:did_ftplugin = 1

setlocal commentstring=,[%s],
setlocal comments=
setlocal iskeyword=a-z,_

let b:undo_ftplugin = "setlocal commentstring< comments< iskeyword<"
