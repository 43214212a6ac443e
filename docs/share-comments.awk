# Filters headers for doxygen. In this library declarations that follow one another without a blank
# line share the comment above the first; here each of the others is given a copy of it, on the
# declaration's own line, so that the lines keep their numbers.
#
# A comment is only given what can be about its declaration: no @param of a name that does not occur
# there, no @return where nothing is returned. What is about none of the declarations stays with the
# first, for doxygen to complain about.
#
# For any POSIX awk.

# The line without strings, characters and comments: where brackets and ends are looked for.
function codeOf(line) {
    gsub(/\\["'\\]/, "", line)
    gsub(/"[^"]*"/, "", line)
    gsub(/'[^']'/, "", line)
    sub(/\/\/.*/, "", line)
    return line
}

function count(text, bracket) { return gsub(bracket, "", text) }

# A comment about what follows; those that open with ///< are about what stands before them, and
# those with a grouping command about no declaration.
function isComment(line) { return line ~ /^[ \t]*\/\/\/([^<]|$)/ && !isGrouping(line) }
function isGrouping(line) { return line ~ /^[ \t]*\/\/\/[ \t]*@([{}]|name|file)/ }
function isSection(line) { return line ~ /^[ \t]*\/\/\/[ \t]*(@|$)/ }

# What is no declaration, and ends what the comment before is about.
function isBetween(line) {
    return line ~ /^[ \t]*(#|[}]|\/\/|$)/ || line ~ /^[ \t]*(public|protected|private):/
}

function withoutTemplate(text) {
    sub(/^[ \t]*template[ \t]*<[^{;]*>[ \t\n]*/, "", text)
    sub(/^[ \t]*/, "", text)
    return text
}

# Whether what is declared holds declarations itself.
function opensScope(text) {
    text = withoutTemplate(text)
    return text ~ /^(class|struct|union|enum|namespace|extern)[ \t]/ && text ~ /[{][ \t\n]*$/
}

# Whether a function returns nothing: a void one, a constructor or a destructor.
function returnsNothing(text) {
    text = withoutTemplate(text)
    sub(/\(.*/, "", text)
    gsub(/(MIVORA_EXPORT|virtual|static|explicit|constexpr|inline|friend)[ \t\n]/, "", text)
    return text ~ /^(void[ \t]+)?~?[A-Za-z_0-9]+$/
}

# Whether a section of a comment can be about a declaration. A @param may name several parameters,
# with commas between them.
function isAbout(section, text, names, i) {
    if (section ~ /@return/) {
        return !returnsNothing(text)
    }
    if (section !~ /@param/) {
        return 1
    }
    sub(/^[ \t]*\/\/\/[ \t]*@param[ \t]+/, "", section)
    gsub(/,[ \t]+/, ",", section)
    sub(/[ \t].*/, "", section)
    for (i = split(section, names, ","); i > 0; --i) {
        if (text ~ ("(^|[^A-Za-z_0-9])" names[i] "([^A-Za-z_0-9]|$)")) {
            return 1
        }
    }
    return 0
}

function isAboutAny(section, i) {
    for (i = 1; i <= declarations; ++i) {
        if (isAbout(section, declaration[i])) {
            return 1
        }
    }
    return 0
}

# Writes the comment as it stands above the first declaration. Left out lines stay as empty ones.
function printComment(i, kept) {
    kept = 1
    for (i = 1; i <= lines; ++i) {
        if (isSection(comment[i])) {
            kept = isAbout(comment[i], declaration[1]) || !isAboutAny(comment[i])
        }
        print kept ? comment[i] : "///"
    }
}

# The comment for another declaration, in one line.
function copyFor(text, i, kept, line, copy) {
    kept = 1
    for (i = 1; i <= lines; ++i) {
        line = comment[i]
        if (isSection(line)) {
            kept = isAbout(line, text)
        }
        if (kept) {
            sub(/^[ \t]*\/\/\//, "", line)
            copy = copy (line ~ /^[ \t]*$/ ? " <p>" : line)
        }
    }
    return copy == "" ? "" : "/**" copy " */ "
}

# What needs no comment: it has one behind it, or is what every class has.
function speaksForItself(text) {
    return text ~ /\/\/\/</ || text ~ /=[ \t\n]*delete[ \t]*;/ ||
           text ~ /^[ \t]*(virtual[ \t]+)?~[A-Za-z_0-9]+\(/
}

# Writes the comment and the declarations collected so far.
function flush(i) {
    printComment()
    for (i = 1; i <= declarations; ++i) {
        if (i > 1 && !speaksForItself(declaration[i])) {
            printf "%s", copyFor(declaration[i])
        }
        printf "%s", declaration[i]
    }
    lines = 0
    declarations = 0
}

# Takes a line into the last declaration and tells whether it goes on after that.
function goesOn(line, code) {
    code = codeOf(line)
    text = text code "\n"
    depth += count(code, "[({]") - count(code, "[)}]")
    declaration[declarations] = declaration[declarations] line "\n"
    if (depth == 1 && opensScope(text)) {
        inEnum = withoutTemplate(text) ~ /^enum/
        flush()
        return 0
    }
    if (depth < 0) {
        inEnum = 0
    }
    return depth > 0 || code !~ (inEnum ? "[;},][ \t]*$" : "[;}][ \t]*$")
}

open {
    open = goesOn($0)
    next
}

# Doxygen leaves out what a header declares outside of classes unless the header has a comment
# itself; this takes a line that says nothing to it.
/^#pragma once/ {
    print "/** @file */"
    next
}

isComment($0) {
    if (declarations > 0) {
        flush()
    }
    comment[++lines] = $0
    next
}

isGrouping($0) || isBetween($0) {
    flush()
    if ($0 ~ /^[ \t]*[}]/) {
        inEnum = 0
    }
    print
    next
}

{
    declaration[++declarations] = ""
    text = ""
    depth = 0
    open = goesOn($0)
}

END { flush() }
