# Turns the columns of a declaration's comment into Doxygen's commands:
#     /// width, height  pixels      ->  /// @param width,height pixels
#     /// returns 0; -1 when refused ->  /// @return 0; -1 when refused
# Their further lines lose the indentation, which Markdown would take for code. Of the names in a column
# the longest may have a single space behind it.
BEGIN {
    name = "[A-Za-z_][A-Za-z0-9_]*"
    names = "^ *///( " name ",)* " name
}
NR == 1 && /^\/\/\/ / { print "/// @file" }
{
    column = 0
    if (match($0, names "  ") || (columns && match($0, "^ */// " name ", " name " ")))
        column = RLENGTH
    columns = column || $0 ~ /^ *\/\/\/      /
    if (column) {
        left = substr($0, 1, column)
        gsub(/, /, ",", left)
        sub(/\/\/\/ /, "/// @param ", left)
        print left substr($0, column + 1)
    } else {
        sub(/\/\/\/ returns /, "/// @return ")
        sub(/\/\/\/      +/, "/// ")
        print
    }
}
