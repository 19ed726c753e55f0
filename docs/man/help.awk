# Makes scdoc of what a program prints with --help, so that its manual page tells no less.
# -v program=NAME; -v under=1: the text is a part of a page, below a heading of that.
function escaped(text) { gsub(/[][\\*_#|+<~-]/, "\\\\&", text); return text }
function section(title) { if (title != kind) print (under ? "## " : "# ") title "\n"; kind = title }
function entry(name, text) { print "*" escaped(name) "*\n\t" escaped(text) "\n"; raw = "" }
function flush_all() {
    if (usage) print "```\n"
    if (raw != "") { name = substr(raw, 1, 24); gsub(/^ +| +$/, "", name); entry(name, substr(raw, 26)) }
    if (prose != "") print escaped(prose) "\n"
    usage = 0; prose = ""
}
/^Usage: / { section("SYNOPSIS"); print "```"; usage = 1; sub(/^Usage: /, "       ") }
usage && index($0, "       " program) == 1 { print substr($0, 8); next }
usage { flush_all() }
/^[A-Z].*:$/ { flush_all(); section(escaped(toupper(substr($0, 1, length($0) - 1)))); listed = 1; next }
# What stands in the list has its meaning behind column 25, or in a line of its own.
/^                         [^ ]/ { sub(/^ +/, ""); name = raw; sub(/^ +/, "", name); entry(name, $0); next }
/^  [^ ]/ { flush_all(); raw = $0; next }
/^$/ { flush_all(); next }
{
    if (prose == "") { flush_all(); section(listed ? "NOTES" : "DESCRIPTION") }
    prose = prose (prose == "" ? "" : " ") $0
}
END { flush_all() }
