#!/usr/bin/env python3
"""Makes the help file: make_help.py MANUAL.md OUTPUT.html

One page that needs nothing else: pictures are part of it, fonts are the system's, there are no
scripts. The Markdown is converted by cmark-gfm; what is added here are anchors as code hosts make
them of headings, the contents beside the text, and pictures as data. HTML in the manual, a picture
that is not there and a link to a heading that is not there are refused. A link to another file is
shown as its text.
"""
import base64
import html
import os
import re
import subprocess
import sys

TITLE = "Hivequarry"
DEEPEST_IN_CONTENTS = 3

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

class Refused(Exception):
    pass


def plain_text(made):
    return html.unescape(re.sub(r"<[^>]*>", "", made))


def converted(text):
    made = subprocess.run(["cmark-gfm", "-e", "table"], input=text, text=True, encoding="utf-8",
                          capture_output=True, check=True).stdout
    if "<!-- raw HTML omitted -->" in made:
        raise Refused("HTML")
    return made


def with_anchors(body):
    """The body with an anchor in each heading, and the headings: level, anchor, text as HTML."""
    headings, taken = [], set()

    def anchored(match):
        level, made = int(match[1]), match[2]
        words = re.sub(r"[^\w\- ]", "", plain_text(made).lower()).replace(" ", "-")
        anchor, number = words, 0
        while anchor in taken or not anchor:
            number += 1
            anchor = f"{words}-{number}"
        taken.add(anchor)
        headings.append((level, anchor, made))
        return f'<h{level} id="{html.escape(anchor)}">{made}</h{level}>'

    return re.sub(r"<h([1-6])>(.*?)</h\1>", anchored, body), headings


def with_pictures(body, folder):
    def picture(match):
        name = html.unescape(match[1])
        if not name.endswith(".png") or not os.path.isfile(os.path.join(folder, name)):
            raise Refused(f"the picture {name}, which is not there")
        with open(os.path.join(folder, name), "rb") as file:
            data = base64.b64encode(file.read()).decode("ascii")
        return f'<img src="data:image/png;base64,{data}"'

    return re.sub(r'<img src="([^"]*)"', picture, body)


def with_links(body, name, anchors):
    def link(match):
        address = html.unescape(match[1]).removeprefix(name)
        if re.match(r"(https?://|mailto:)", address):
            return match[0]
        if not address.startswith("#"):
            return match[2]
        if address[1:] not in anchors:
            raise Refused(f"a link to {address}, which no heading makes")
        return f'<a href="{html.escape(address)}">{match[2]}</a>'

    return re.sub(r'<a href="([^"]*)">(.*?)</a>', link, body, flags=re.S)


def contents_html(headings):
    made, level = [], 1
    for depth, anchor, text in headings:
        if not 1 < depth <= DEEPEST_IN_CONTENTS:
            continue
        made.append("<ul>\n" * (depth - level) if depth > level else
                    "</li>\n" + "</ul></li>\n" * (level - depth))
        text = re.sub(r"</?(a|img)\b[^>]*>", "", text)
        made.append(f'<li><a href="#{html.escape(anchor)}">{text}</a>')
        level = depth
    made.append("</li></ul>" * (level - 1))
    return "".join(made)


def page_html(manual, text):
    body, headings = with_anchors(converted(text))
    if not headings or headings[0][0] != 1 or not body.startswith("<h1"):
        raise Refused("a manual without a title at its beginning")
    body = with_pictures(body, os.path.dirname(os.path.abspath(manual)))
    body = with_links(body, os.path.basename(manual), {anchor for _, anchor, _ in headings})
    body = body.replace("<table>", '<div class="wide"><table>').replace("</table>", "</table></div>")
    return PAGE.format(title=html.escape(f"{TITLE}: {plain_text(headings[0][2])}"), style=STYLE,
                       contents=contents_html(headings), body=body)


def main():
    manual, output = sys.argv[1:]
    try:
        with open(manual, encoding="utf-8", newline=None) as file:
            made = page_html(manual, file.read().removeprefix("\ufeff"))
    except Refused as refused:
        sys.exit(f"{manual}: not taken: {refused}")
    except (OSError, UnicodeDecodeError, subprocess.CalledProcessError) as error:
        sys.exit(f"{manual}: {error}")
    with open(output, "w", encoding="utf-8", newline="\n") as file:
        file.write(made)


main()
