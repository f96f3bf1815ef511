#!/usr/bin/env python3
"""Makes the help file: make_help.py MANUAL.md OUTPUT.html

One page that needs nothing else: pictures are part of it, fonts are the system's, there are no
scripts. What Markdown offers beyond the following is refused, with the line that holds it, so that
nothing reaches the reader as raw marks: headings ("#" to "####", first the one title), paragraphs,
nested lists, tables, fenced code, quotes, rules; code, bold and slanted text, links, pictures, line
breaks. Anchors are those that code hosts make of headings. A link to another file is shown as its
text, and so is a picture that is not there.
"""
import base64
import html
import os
import re
import sys

TITLE = "Hivequarry"
PICTURES = {".png": "image/png", ".jpg": "image/jpeg", ".jpeg": "image/jpeg",
            ".gif": "image/gif", ".webp": "image/webp", ".svg": "image/svg+xml"}

STYLE = """
:root { color-scheme: light dark; --text: #1d2129; --back: #ffffff; --soft: #f3f4f6;
  --line: #d5d9e0; --link: #0b57b7; --mark: #fff3c9; }
@media (prefers-color-scheme: dark) {
  :root { --text: #e3e6eb; --back: #17191d; --soft: #23262c; --line: #3b4049; --link: #86b7ff;
    --mark: #4a3f12; } }
* { box-sizing: border-box; }
html { scroll-padding-top: 1rem; }
body { margin: 0; color: var(--text); background: var(--back); line-height: 1.5;
  font-family: "Segoe UI", system-ui, -apple-system, "Noto Sans", sans-serif; }
a { color: var(--link); }
main { max-width: 52rem; padding: 1rem 2rem 4rem; overflow-wrap: break-word; }
nav { padding: 1rem 2rem; background: var(--soft); border-bottom: 1px solid var(--line); }
nav ul { list-style: none; margin: 0; padding: 0; }
nav ul ul { padding-left: 1rem; font-size: 0.92em; }
nav li { margin: 0.25rem 0; }
nav a { text-decoration: none; }
nav a:hover { text-decoration: underline; }
@media (min-width: 60rem) {
  body { display: grid; grid-template-columns: 18rem minmax(0, 1fr); }
  nav { position: sticky; top: 0; height: 100vh; overflow-y: auto; border-bottom: 0;
    border-right: 1px solid var(--line); } }
h1, h2, h3, h4 { line-height: 1.25; margin: 2rem 0 0.75rem; }
h1 { margin-top: 0.5rem; }
h2 { border-bottom: 1px solid var(--line); padding-bottom: 0.25rem; }
:target { background: var(--mark); }
code, pre { font-family: Consolas, "Cascadia Mono", "DejaVu Sans Mono", monospace;
  font-size: 0.92em; }
code { background: var(--soft); padding: 0.1em 0.3em; border-radius: 3px; }
pre { background: var(--soft); padding: 0.75rem 1rem; overflow-x: auto; }
pre code { padding: 0; }
.wide { overflow-x: auto; margin: 1rem 0; }
table { border-collapse: collapse; }
th, td { border: 1px solid var(--line); padding: 0.35rem 0.7rem; text-align: left;
  vertical-align: top; }
th { background: var(--soft); }
.right { text-align: right; }
.centre { text-align: center; }
blockquote { margin: 1rem 0; padding: 0 1rem; border-left: 4px solid var(--line); }
img { max-width: 100%; height: auto; border: 1px solid var(--line); }
hr { border: 0; border-top: 1px solid var(--line); }
@media print { nav { display: none; } body { display: block; } main { max-width: none; } }
"""

PAGE = """<!doctype html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta http-equiv="Content-Security-Policy"
 content="default-src 'none'; img-src data:; style-src 'unsafe-inline'">
<title>{title}</title>
<style>{style}</style>
</head>
<body>
<nav aria-label="Contents">
{contents}
</nav>
<main>
{body}
</main>
</body>
</html>
"""

FENCE = re.compile(r"(```+)([\w+-]*)$")
HEADING = re.compile(r"(#{1,6}) (.*?)(?: #+)?$")
ITEM = re.compile(r"([-*]|(\d{1,9})\.) +(?=\S)")
RULE = re.compile(r"(-{3,}|\*{3,})$")
DELIMITER = re.compile(r"\|?( *:?-+:? *\|)*( *:?-+:? *)\|?$")
# What would be read as something that is not known here.
UNKNOWN_BLOCKS = (
    (re.compile(r" {4}"), "a block that is indented by four blanks; use a fence"),
    (re.compile(r"~~~"), "a fence of tildes; use ```"),
    (re.compile(r"\[[^\]]+\]: "), "a link definition; put the address into the link"),
    (re.compile(r"[+] |\d{1,9}\) "), "a list of another kind; use - or 1."),
    (re.compile(r"#"), "a heading without a blank, or without a name, or deeper than ####"),
    (re.compile(r"[-*=]{3,} *$"), "a line under a heading; use #"),
    (re.compile(r"[-*+] *$|\d{1,9}\. *$"), "an empty list item"),
)
UNKNOWN_TEXT = (
    (re.compile(r"</?[A-Za-z!?]"), "an HTML tag"),
    (re.compile(r"&(#\d+|#x[0-9A-Fa-f]+|[A-Za-z]\w*);"), "an HTML character; write it as it is"),
    (re.compile(r"`"), "an open code span"),
    (re.compile(r"\]\[|\[\^|\[[ xX]\] "), "a link by name, a footnote or a task"),
    (re.compile(r"~~"), "struck text"),
    (re.compile(r"\[![A-Z]"), "a note; write a paragraph"),
    (re.compile(r"[\uE000-\uF8FF]"), "a character for private use"),
)
# What is left when all marks have been taken.
LEFT_OVER = (
    (re.compile(r"\]\("), "a link with an odd address"),
    (re.compile(r"\*(?=\S)|(?<=\S)\*"), "an open * (write \\* for the sign)"),
    (re.compile(r"(?<!\w)__|__(?!\w)"), "bold text by underscores; use **"),
)
MARKS = (
    (re.compile(r"\*\*(?=[^\s*])(.+?)(?<=[^\s*])\*\*", re.S), "strong"),
    (re.compile(r"(?<!\*)\*(?=[^\s*])([^*]+?)(?<=[^\s*])\*(?!\*)", re.S), "em"),
    (re.compile(r"(?<!\w)_(?=[^\s_])(.+?)(?<=[^\s_])_(?!\w)", re.S), "em"),
)


class Refused(Exception):
    """Something in the manual that is not understood: line number and what it is."""


class Page:
    def __init__(self, folder, name):
        self.folder = folder    # of the manual
        self.name = name        # its file name
        self.title = ""
        self.anchors = set()
        self.contents = []      # level, anchor, text as HTML
        self.references = []    # line, anchor


def refuse_any(patterns, text, line):
    for pattern, what in patterns:
        found = pattern.search(text)
        if found:
            raise Refused(line, f"{what}: {text[found.start():found.start() + 30]!r}")


# Text within a block


class Kept:
    """Pieces of finished HTML, each of which stands in a text as one private character."""

    def __init__(self):
        self.pieces = []

    def keep(self, piece):
        self.pieces.append(piece)
        if len(self.pieces) > 6000:
            raise Refused(0, "a paragraph of more than 6000 marks")
        return chr(0xE000 + len(self.pieces) - 1)

    def restored(self, text):
        while re.search("[\uE000-\uF8FF]", text):
            text = re.sub("[\uE000-\uF8FF]", lambda m: self.pieces[ord(m[0]) - 0xE000], text)
        return text


def code_html(text):
    text = text.replace("\n", " ")
    if text.startswith(" ") and text.endswith(" ") and text.strip():
        text = text[1:-1]
    return f"<code>{html.escape(text)}</code>"


def picture_html(page, kept, text, address):
    text, address = plain_text(kept.restored(text)), html.unescape(kept.restored(address))
    kind = PICTURES.get(os.path.splitext(address)[1].lower())
    path = os.path.join(page.folder, address)
    if kind is None or ":" in address or not os.path.isfile(path):
        return html.escape(text)
    with open(path, "rb") as file:
        data = base64.b64encode(file.read()).decode("ascii")
    return f'<img alt="{html.escape(text)}" src="data:{kind};base64,{data}">'


def link_html(page, kept, line, text, address):
    """The link's text stays open to further marks."""
    address = kept.restored(address)
    if address.startswith(page.name + "#"):
        address = address[len(page.name):]
    if address.startswith("#"):
        page.references.append((line, html.unescape(address[1:])))
    elif not re.match(r"(https?://|mailto:)", address):
        return text
    return kept.keep(f'<a href="{address}">') + text + kept.keep("</a>")


def text_html(page, text, line):
    kept = Kept()
    refuse_any(UNKNOWN_TEXT[-1:], text, line)
    text = re.sub(r"\\([!-/:-@\[-`{-~])|(?<!`)(`+)(?!`)(.+?)(?<!`)\2(?!`)",
                  lambda m: kept.keep(html.escape(m[1]) if m[1] else code_html(m[3])),
                  text, flags=re.S)
    text = re.sub(r"<(https?://[^\s<>]+)>", lambda m: kept.keep(
        f'<a href="{html.escape(m[1])}">{html.escape(m[1])}</a>'), text)
    refuse_any(UNKNOWN_TEXT[:-1], text, line)
    text = html.escape(text)
    address = r"\]\(([^()\s]+)\)"
    text = re.sub(r"!\[([^\[\]]*)" + address,
                  lambda m: kept.keep(picture_html(page, kept, m[1], m[2])), text)
    text = re.sub(r"\[([^\[\]]+)" + address,
                  lambda m: link_html(page, kept, line, m[1], m[2]), text)
    for pattern, tag in MARKS:
        text = pattern.sub(
            lambda m: kept.keep(f"<{tag}>") + m[1] + kept.keep(f"</{tag}>"), text)
    text = re.sub(r"(  +|\\)\n", lambda m: kept.keep("<br>") + "\n", text)
    refuse_any(LEFT_OVER, text, line)
    return kept.restored(text)


def plain_text(made):
    return html.unescape(re.sub(r"<[^>]*>", "", made))


def anchor_of(page, made):
    words = re.sub(r"[^\w\- ]", "", plain_text(made).lower()).replace(" ", "-")
    anchor, number = words, 0
    while anchor in page.anchors or not anchor:
        number += 1
        anchor = f"{words}-{number}"
    page.anchors.add(anchor)
    return anchor


# Blocks. Each of these takes the numbered lines from its first one on, and gives its HTML and how
# many lines it took.


def heading(page, lines):
    number, text = lines[0]
    match = HEADING.match(text)
    level = len(match[1])
    if level > 4 or not match[2]:
        raise Refused(number, "a heading without a name, or deeper than ####")
    made = text_html(page, match[2].strip(), number)
    if (level == 1) != (not page.title):
        raise Refused(number, "a manual has one title, at its start")
    above = page.contents[-1][0] if page.contents else 1
    if level > above + 1:
        raise Refused(number, "a heading that skips a level")
    anchor = anchor_of(page, made)
    if level == 1:
        page.title = plain_text(made)
    else:
        page.contents.append((level, anchor, re.sub(r"</?(a|img)\b[^>]*>", "", made)))
    return f'<h{level} id="{html.escape(anchor)}">{made}</h{level}>', 1


def fence(page, lines):
    number, text = lines[0]
    mark = FENCE.match(text)[1]
    for count in range(1, len(lines)):
        if lines[count][1].rstrip() == mark:
            code = "\n".join(line for _, line in lines[1:count])
            return f"<pre><code>{html.escape(code)}\n</code></pre>", count + 1
    raise Refused(number, "code without an end")


def quote(page, lines):
    count = 0
    while count < len(lines) and lines[count][1].startswith(">"):
        count += 1
    if count < len(lines) and lines[count][1]:
        raise Refused(lines[count][0], "a quote that goes on without >")
    inner = [(number, re.sub("^> ?", "", text)) for number, text in lines[:count]]
    return f"<blockquote>\n{blocks_html(page, inner)}\n</blockquote>", count


def row_cells(text):
    text = text.strip()
    text = text[1:] if text.startswith("|") else text
    text = re.sub(r"(?<!\\)\|$", "", text)
    # In a table a "|" of a cell has a stroke in front, in code too.
    return [cell.replace("\\|", "|").strip() for cell in re.split(r"(?<!\\)\|", text)]


def row_html(page, number, text, classes, tag):
    cells = row_cells(text)
    if len(cells) != len(classes):
        raise Refused(number, f"a row of {len(cells)} cells in a table of {len(classes)}")
    made = (f"<{tag}{kind}>{text_html(page, cell, number)}</{tag}>"
            for cell, kind in zip(cells, classes))
    return f"<tr>{''.join(made)}</tr>"


def column_class(delimiter):
    if not delimiter.endswith(":"):
        return ""
    return ' class="centre"' if delimiter.startswith(":") else ' class="right"'


def is_table(lines):
    return len(lines) > 1 and "|" in lines[0][1] and DELIMITER.match(lines[1][1].strip()) and \
        "|" in lines[1][1]


def table(page, lines):
    classes = [column_class(cell) for cell in row_cells(lines[1][1])]
    count = 2
    while count < len(lines) and lines[count][1]:
        count += 1
    head = row_html(page, *lines[0], classes, "th")
    rows = "\n".join(row_html(page, *line, classes, "td") for line in lines[2:count])
    return (f'<div class="wide"><table>\n<thead>{head}</thead>\n<tbody>\n{rows}\n</tbody>\n'
            "</table></div>"), count


def item_lines(lines, width):
    """The lines of an item whose text begins at `width`, without their indent."""
    inner = [(lines[0][0], lines[0][1][width:])]
    for number, text in lines[1:]:
        if text and not text.startswith(" " * width):
            break
        inner.append((number, text[width:]))
    while not inner[-1][1]:
        inner.pop()
    return inner


def holds_paragraphs(inner):
    """Whether blocks of the item itself, not of its own lists, stand apart by empty lines."""
    return any(not above and text and not text.startswith(" ") and not ITEM.match(text)
               for (_, above), (_, text) in zip(inner, inner[1:]))


def list_html(page, lines):
    first = ITEM.match(lines[0][1])
    items, count, loose = [], 0, False
    while count < len(lines):
        match = ITEM.match(lines[count][1])
        if not match or bool(match[2]) != bool(first[2]):
            break
        inner = item_lines(lines[count:], match.end())
        count += len(inner)
        after = count
        while count < len(lines) and not lines[count][1]:
            count += 1
        loose = loose or holds_paragraphs(inner)
        items.append(inner)
        next_block = count == len(lines) or ITEM.match(lines[count][1]) or starts_block(lines[count:])
        if count == after and not next_block:
            raise Refused(lines[count][0], "a list item that goes on without its indent")
        loose = loose or (count > after and count < len(lines) and
                          bool(ITEM.match(lines[count][1])))
    tag = "ol" if first[2] else "ul"
    start = f' start="{int(first[2])}"' if first[2] and int(first[2]) != 1 else ""
    made = "\n".join(f"<li>{blocks_html(page, inner, not loose)}</li>" for inner in items)
    return f"<{tag}{start}>\n{made}\n</{tag}>", count


def rule(_page, _lines):
    return "<hr>", 1


def maker_of(lines):
    """What makes the block that these lines begin with; None for a paragraph."""
    text = lines[0][1]
    if HEADING.match(text):
        return heading
    if FENCE.match(text):
        return fence
    if text.startswith(">"):
        return quote
    if RULE.match(text):
        return rule
    if ITEM.match(text):
        return list_html
    return table if is_table(lines) else None


def starts_block(lines):
    """Whether a line within a paragraph ends it."""
    number = ITEM.match(lines[0][1])
    goes_on = number and number[2] and number[2] != "1"
    return not lines[0][1] or (maker_of(lines) is not None and not goes_on)


def paragraph(page, lines, bare):
    refuse_any([(re.compile("^(?:" + pattern.pattern + ")"), what)
                for pattern, what in UNKNOWN_BLOCKS], lines[0][1], lines[0][0])
    count = 1
    while count < len(lines) and not starts_block(lines[count:]):
        count += 1
    if count < len(lines) and RULE.match(lines[count][1]) or \
            any(re.match("(=+|-+) *$", text) for _, text in lines[1:count]):
        raise Refused(lines[count - 1][0], "a heading by a line under it; use #")
    text = "\n".join(text.lstrip() for _, text in lines[:count])
    made = text_html(page, text.rstrip(), lines[0][0])
    return (made if bare else f"<p>{made}</p>"), count


def block_html(page, lines, bare):
    maker = maker_of(lines)
    return maker(page, lines) if maker else paragraph(page, lines, bare)


def blocks_html(page, lines, bare=False):
    """Bare paragraphs are those of a list whose items stand close together."""
    made, at = [], 0
    while at < len(lines):
        if not lines[at][1]:
            at += 1
            continue
        block, count = block_html(page, lines[at:], bare)
        made.append(block)
        at += count
    return "\n".join(made)


# The page


def contents_html(page):
    made, level = [], 1
    for depth, anchor, text in page.contents:
        if depth > 3:
            continue
        made.append("<ul>\n" * (depth - level) if depth > level else
                    "</li>\n" + "</ul></li>\n" * (level - depth))
        made.append(f'<li><a href="#{html.escape(anchor)}">{text}</a>')
        level = depth
    made.append("</li></ul>" * (level - 1))
    return "".join(made)


def page_html(manual, text):
    page = Page(os.path.dirname(os.path.abspath(manual)), os.path.basename(manual))
    if "\t" in text or "\0" in text:
        raise Refused(text.count("\n", 0, min(i for i in map(text.find, "\t\0") if i >= 0)) + 1,
                      "a tab or zero character")
    # Two blanks at a line's end are a line break.
    lines = [(number, re.sub(r"(\S) +$", r"\1  " if re.search(r"\S  +$", line) else r"\1", line))
             for number, line in enumerate(re.sub(r"\n +(?=\n)", "\n", text).split("\n"), 1)]
    body = blocks_html(page, lines)
    if not page.title or not body.startswith("<h1"):
        raise Refused(1, "a manual begins with its title")
    for line, anchor in page.references:
        if anchor not in page.anchors:
            raise Refused(line, f"a link to #{anchor}, which no heading makes")
    return PAGE.format(title=html.escape(f"{TITLE}: {page.title}"), style=STYLE,
                       contents=contents_html(page), body=body)


def main():
    manual, output = sys.argv[1:]
    try:
        with open(manual, encoding="utf-8", newline=None) as file:
            text = file.read()
        made = page_html(manual, text.removeprefix("\ufeff"))
    except Refused as refused:
        line, what = refused.args
        sys.exit(f"{manual}:{line}: not understood: {what}")
    except (OSError, UnicodeDecodeError) as error:
        sys.exit(f"{manual}: {error}")
    with open(output, "w", encoding="utf-8", newline="\n") as file:
        file.write(made)


main()
