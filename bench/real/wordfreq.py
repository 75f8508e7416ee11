# wordfreq -n N FILE: the most frequent words.
import re
import sys

counts = {}
with open(sys.argv[3], encoding="latin-1") as file:
    for line in file:
        for word in re.findall("[a-z]+", line.lower()):
            counts[word] = counts.get(word, 0) + 1
for word, count in sorted(counts.items(), key=lambda item: (-item[1], item[0]))[:int(sys.argv[2])]:
    print(f"{count:8}  {word}")
