# grep -i -c WORD FILE: how many lines hold a word, capital letters taken for small ones.
import sys

word = sys.argv[3].lower()
with open(sys.argv[4], encoding="latin-1") as file:
    print(sum(word in line.lower() for line in file))
