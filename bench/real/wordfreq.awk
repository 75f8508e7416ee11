# wordfreq -n N FILE: the most frequent words.
BEGIN {
  while ((getline line < ARGV[3]) > 0) {
    n = split(tolower(line), words, /[^a-z]+/)
    for (i = 1; i <= n; i++) if (words[i] != "") counts[words[i]]++
  }
  for (k = 1; k <= ARGV[2]; k++) {
    best = ""
    for (word in counts)
      if (best == "" || counts[word] > counts[best] || (counts[word] == counts[best] && word < best)) best = word
    if (best == "") break
    printf "%8d  %s\n", counts[best], best
    delete counts[best]
  }
}
