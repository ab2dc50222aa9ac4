# The header's comments for Doxygen. They are plain text, whose lines and tables stay as they are; one that stands above
# several calls is about all of them.
function call_name(line) {
    return match(line, /(qmio|imio)_[A-Za-z0-9_]+\(/) ? substr(line, RSTART, RLENGTH - 1) : ""
}
NR == 1 && /^\/\*$/ { print "/** \\file"; print "\\verbatim"; inside = 1; next }
/^\/\*$/ { print "/** \\verbatim"; inside = 1; first = ""; next }
inside && /^ \*\/$/ { print "\\endverbatim"; print " */"; inside = 0; next }
inside { sub(/^ \* ?/, ""); print; next }
/^\/\* ----/ { first = ""; print; next }
/^\/\* .* \*\/$/ { sub(/^\/\* /, "/** \\verbatim "); sub(/ \*\/$/, " \\endverbatim */"); first = "" }
/^$/ { first = "" }
/^    .*[;,] *\/\* .* \*\/$/ { sub(/\/\* /, "/**< ") }
/^QMIO_API/ {
    name = call_name($0)
    if (first != "" && name != "")
        print "/** \\copydoc " first " */"
    else
        first = name
}
{ print }
