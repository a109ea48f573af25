#!/usr/bin/env bash
# The picture of the README: a part of what the main job shows, as an SVG on standard output.
#
#   sample/picture.sh TOOL SCRATCH > docs/images/tour.svg
set -euo pipefail
here=$(dirname "${BASH_SOURCE[0]}")

# The fragile from its conversion to its table, then the first change of the file.
"$here/tour.sh" "$1" "$2" 2>/dev/null | awk '
  /^\$/ { isShown = $3 != "import" && $3 != "health" && $4 ~ /barrel/ }
  /^(# A second|states$)/ { isShown = 0 }
  /^# What/ { isShown = 1 }
  /^@@/ && ++hunks == 2 { exit }
  isShown { gsub(/\t/, "    "); print }
' | awk '
  BEGIN { lineHeight = 18; margin = 16; width = 820 }
  { lines[++count] = $0 }
  function colour(line) {
    if (line ~ /^[$#]/) return "#ffffff"
    if (line ~ /^[+]/) return "#8fd18f"
    if (line ~ /^-/) return "#e69090"
    return line ~ /^@@/ ? "#8fb8e6" : "#c9d1d9"
  }
  END {
    while (lines[count] == "") --count
    printf "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%d\" height=\"%d\" ", width, count * lineHeight + 2 * margin
    print "font-family=\"ui-monospace, Menlo, Consolas, monospace\" font-size=\"13\">"
    print "<rect width=\"100%\" height=\"100%\" rx=\"8\" fill=\"#161b22\"/>"
    for (i = 1; i <= count; ++i) {
      text = lines[i]
      gsub(/&/, "\\&amp;", text)
      gsub(/</, "\\&lt;", text)
      gsub(/>/, "\\&gt;", text)
      if (text == "") continue
      printf "<text x=\"%d\" y=\"%d\" fill=\"%s\" xml:space=\"preserve\">%s</text>\n", margin, margin + i * lineHeight - 5, colour(lines[i]), text
    }
    print "</svg>"
  }
'
