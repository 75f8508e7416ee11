# grep -i -c WORD FILE: how many lines hold a word, capital letters taken for small ones.
BEGIN {
  word = tolower(ARGV[3])
  while ((getline line < ARGV[4]) > 0) if (index(tolower(line), word)) lines++
  print lines + 0
}
