# Makes scdoc of a page of docs/: headings, paragraphs, lists, tables and indented examples.
function escaped(text,   out, code) {
    gsub(/\\/, "\\\\&", text); gsub(/\*\*/, "\001", text)
    gsub(/[*_#|+<~-]/, "\\\\&", text)
    gsub(/\001/, "*", text); gsub(/`/, "*", text)
    while (match(text, /\[[^]]*\]\([^)]*\)/)) {
        code = substr(text, RSTART + 1, RLENGTH - 2); sub(/\]\(.*/, "", code)
        text = substr(text, 1, RSTART - 1) code substr(text, RSTART + RLENGTH)
    }
    gsub(/[][]/, "\\\\&", text)
    return text
}
function close_all() { if (literal) print "```\n"; if (table) print ""; literal = table = 0 }
/^# / { next } # the page's own title says it
/^##+ / { close_all(); sub(/^##+ /, ""); gsub(/"/, ""); print "# " escaped($0) "\n"; next }
/^    / && (blank || literal) {
    if (!literal) print "```"
    literal = 1; for (; gap > 0; --gap) print ""
    print substr($0, 5); next
}
/^$/ { if (literal) ++gap; else { close_all(); print "" } blank = 1; next }
{ if (literal) close_all(); gap = blank = 0 }
/^\|[-|]*$/ { next }
/^\|/ {
    line = $0; sub(/^\| */, "", line); sub(/ *\|$/, "", line); count = split(line, cells, / *\| */)
    for (i = 1; i <= count; ++i) print (i > 1 ? ":[ " : !table ? "[[ " : "|  ") escaped(cells[i])
    table = 1; next
}
{ print escaped($0) }
END { close_all() }
