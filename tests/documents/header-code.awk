# SPDX-FileCopyrightText: 2026 The libtamsel developers
# SPDX-License-Identifier: MIT

# awk -f header-code.awk HEADER...: prints a source file that compiles if the \code blocks in the comments of the
# headers do. Declarations and directives go outside of functions; statements use `logger` and `settings`.

function finish()
{
    if (block ~ /^[^\n]*\n(namespace|#)/) # behind its #line
        declarations = declarations block
    else
        statements = statements "{\n" block "}\n"
    ++blocks
}

FNR == 1 { headers = headers "#include \"" FILENAME "\"\n" }
/^ *\* \\endcode/ { finish(); inside = 0 }
inside {
    sub(/^ *\* ?/, "")
    block = block "#line " FNR " \"" FILENAME "\"\n" $0 "\n"
}
/^ *\* \\code/ { inside = 1; block = "" }

END {
    print headers "#include <QtCore/QtCore>\n\n" declarations
    print "using namespace Qt::StringLiterals;\n"
    print "void headerCode(tamsel::ILogger &logger, tamsel::ConfigurationManager &settings);"
    print "void headerCode([[maybe_unused]] tamsel::ILogger &logger,"
    print "                [[maybe_unused]] tamsel::ConfigurationManager &settings)\n{\n" statements "}"
    exit blocks == 0 || inside
}
