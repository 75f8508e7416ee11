# site -q -t TITLE FROM TO: a web site of the Markdown files in a folder.
import os
import re
import sys

title_of_site, source, target = sys.argv[3:6]


def escaped(text):
    return text.replace("&", "&amp;").replace("<", "&lt;").replace(">", "&gt;").replace('"', "&quot;")


def mark_end(text, i, mark):
    k = text.find(mark, i)
    while k > 0 and text[k - 1] == "\\":
        k = text.find(mark, k + 1)
    return k


def inline(text):
    out, i = [], 0
    while True:
        j = i
        while j < len(text) and text[j] not in "\\`*![":
            j += 1
        out.append(escaped(text[i:j]))
        if j == len(text):
            return "".join(out)
        c = text[j]
        mark = "**" if text.startswith("**", j) else c
        if c == "\\" and j + 1 < len(text):
            out.append(escaped(text[j + 1]))
            i = j + 2
        elif mark in ("`", "*", "**"):
            n = len(mark)
            k = mark_end(text, j + n, mark)
            if k < 0 or k == j + n or text[j + n] == " ":
                out.append(mark)
                i = j + n
            else:
                tag = {"`": "code", "*": "em", "**": "strong"}[mark]
                inner = text[j + n:k]
                out.append(f"<{tag}>{escaped(inner) if mark == '`' else inline(inner)}</{tag}>")
                i = k + n
        elif c == "[" or text.startswith("![", j):
            k = j + (1 if c == "[" else 2)
            m = text.find("](", k)
            n = text.find(")", m) if m >= 0 else -1
            if n < 0:
                out.append(escaped(text[j:k]))
                i = k
            else:
                label, address = text[k:m], escaped(text[m + 2:n])
                out.append(f'<a href="{address}">{inline(label)}</a>' if c == "["
                           else f'<img src="{address}" alt="{escaped(label)}">')
                i = n + 1
        else:
            out.append(escaped(c))
            i = j + 1


def marker(kind, line):
    if kind == "ul":
        return 2 if line.startswith("- ") else 0
    found = re.match(r"\d+\. ", line)
    return found.end() if found else 0


def blocks(lines):
    out, paragraph, i = [], [], 0

    def close():
        if paragraph:
            out.append(f"<p>{inline(chr(10).join(paragraph))}</p>\n")
            paragraph.clear()

    while i < len(lines):
        line = lines[i]
        heading = re.match("(#{1,6}) ", line)
        kind = next((k for k in ("ul", "ol") if not paragraph and marker(k, line)), None)
        if not line.strip(" \t\n\v\f\r"):
            close()
        elif line.startswith("```"):
            close()
            i += 1
            code = []
            while i < len(lines) and not lines[i].startswith("```"):
                code.append(escaped(lines[i]) + "\n")
                i += 1
            out.append(f"<pre><code>{''.join(code)}</code></pre>\n")
        elif heading:
            close()
            n = len(heading.group(1))
            out.append(f"<h{n}>{inline(line[n:].strip())}</h{n}>\n")
        elif kind:
            items = []
            while i < len(lines):
                n = marker(kind, lines[i])
                if n:
                    items.append([lines[i][n:]])
                elif lines[i].startswith("  ") and lines[i].strip():
                    items[-1].append(lines[i].strip())
                else:
                    break
                i += 1
            inner = "".join(f"<li>{inline(chr(10).join(item))}</li>\n" for item in items)
            out.append(f"<{kind}>\n{inner}</{kind}>\n")
            continue
        elif line.startswith("> "):
            close()
            quoted = []
            while i < len(lines) and lines[i].startswith(">"):
                quoted.append(lines[i][1:].strip())
                i += 1
            out.append(f"<blockquote>\n{blocks(quoted)}</blockquote>\n")
            continue
        elif re.fullmatch("-{3,}", line):
            close()
            out.append("<hr>\n")
        else:
            paragraph.append(line)
        i += 1
    close()
    return "".join(out)


def page(title, body):
    return (f'<!doctype html>\n<meta charset="utf-8">\n<title>{escaped(title)}</title>\n'
            f'<nav><a href="index.html">{escaped(title_of_site)}</a></nav>\n<main>\n{body}</main>\n')


def read_page(name):
    with open(os.path.join(source, name), encoding="utf-8") as file:
        lines = file.read().split("\n")
    if lines[-1] == "":
        lines.pop()
    fields, i = {"file": name[:-3]}, 0
    while i < len(lines):
        found = re.match("([a-z]+): (.*)", lines[i])
        if not found:
            i += not lines[i]
            break
        fields[found.group(1)] = found.group(2)
        i += 1
    return fields, lines[i:]


def write(name, text):
    with open(os.path.join(target, name), "w", encoding="utf-8") as file:
        file.write(text)


pages = [read_page(name) for name in sorted(os.listdir(source)) if name.endswith(".md")]
pages.sort(key=lambda p: p[0]["file"])
pages.sort(key=lambda p: p[0].get("date", ""), reverse=True)
links, entries = [], []
for fields, lines in pages:
    title, date = fields.get("title", fields["file"]), fields.get("date", "")
    dated = f'<p><time datetime="{date}">{date}</time></p>\n' if date else ""
    write(fields["file"] + ".html", page(title, f"<h1>{inline(title)}</h1>\n{dated}{blocks(lines)}"))
    links.append(f'<li>{date} <a href="{fields["file"]}.html">{inline(title)}</a></li>\n')
    address = escaped("http://localhost/" + fields["file"] + ".html")
    updated = f"<updated>{date}T00:00:00Z</updated>" if date else ""
    entries.append(f"<entry><title>{escaped(title)}</title><link href=\"{address}\"/>"
                   f"<id>{address}</id>{updated}</entry>\n")
write("index.html", page(title_of_site, f"<h1>{escaped(title_of_site)}</h1>\n<ul>\n{''.join(links)}</ul>\n"))
write("feed.xml", '<?xml version="1.0" encoding="utf-8"?>\n<feed xmlns="http://www.w3.org/2005/Atom">\n'
      f"<title>{escaped(title_of_site)}</title>\n{''.join(entries)}</feed>\n")
