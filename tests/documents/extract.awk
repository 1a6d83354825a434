# SPDX-FileCopyrightText: 2026 The libtamsel developers
# SPDX-License-Identifier: MIT

# awk -v out=DIR -v top=DIR/ -f extract.awk DOCUMENT...: extracts the code blocks of Markdown documents,
# each for the check that its language, or the comment in the line above it, selects: see README.md.
# Blocks without a check, and indented fences, fail tst_documents.
#
# DIR gets blocks.cpp for tst_documents, commands/ and cmake/ with a file for each block, and projects/.

function raw(text) { return "R\"~~(" text ")~~\"" }

function write_to(file, text,    folder)
{
    folder = file
    sub("/[^/]*$", "", folder)
    system("mkdir -p '" folder "'")
    printf "%s", text > file
    close(file)
}

function unchecked(line, why)
{
    code = code "// " name ":" line "\n"
    unchecked_blocks = unchecked_blocks "    {\"" name ":" line "\", \"" why "\"},\n"
}

function open_function(line, arguments, runs)
{
    close_function()
    ++functions
    code = code "[[maybe_unused]] void block" functions "(\n        [[maybe_unused]] Surroundings &surroundings,\n" \
        "        [[maybe_unused]] tamsel::ConfigurationManager &settings,\n" \
        "        [[maybe_unused]] Logger &logger, [[maybe_unused]] Handler &handler)\n{\n{\n"
    if (runs) {
        table = table "    {\"" name ":" line "\", block" functions ", " raw(arguments) "},\n"
        ++run
    }
    in_function = 1
}

function close_function()
{
    if (in_function)
        code = code "}\n}\n\n"
    in_function = 0
}

function statements(line)
{
    ++compiled
    code = code "surroundings.beginBlock();\n#line " (line + 1) " \"" top name "\"\n" body
}

function block(line,    what)
{
    what = kind " | " marker
    if (marker ~ /^file: [A-Za-z0-9_-]+\/[A-Za-z0-9_.-]+$/) {
        write_to(out "/projects/" substr(marker, 7), body)
        ++in_projects
    } else if (marker ~ /^checked by [a-z_]+$/) {
        others = others "    {\"" name ":" line "\", \"" substr(marker, 12) "\"},\n"
        ++elsewhere
    } else if (what == "cpp | ") {
        open_function(line, "", 1)
        statements(line)
    } else if (what ~ /^cpp \| arguments: /) {
        open_function(line, substr(marker, 12), 1)
        statements(line)
    } else if (what == "cpp | compile only") {
        open_function(line, "", 0)
        statements(line)
    } else if (what == "cpp | goes on" && in_function) {
        statements(line)
    } else if (what == "cpp | next process" && in_function) {
        code = code "surroundings.nextProcess(settings);\n"
        statements(line)
    } else if (what == "cpp | declarations") {
        close_function()
        ++compiled
        code = code "#line " (line + 1) " \"" top name "\"\n" body "\n"
    } else if (what == "text | " && in_function) {
        code = code "surroundings.expectOutput(\"" name ":" line "\", " raw(body) ");\n"
        ++compared
    } else if (what == "ini | ") {
        inis = inis "    {\"" name ":" line "\", " raw(body) "},\n"
        ++parsed
    } else if (what ~ /^ini \| written: [a-z.]+$/ && in_function) {
        code = code "surroundings.expectFile(\"" name ":" line "\", \"" substr(marker, 10) "\", " raw(body) ");\n"
        ++compared
    } else if (kind == "sh" && (marker == "" || marker == "run")) {
        ++commands
        write_to(out "/commands/" (marker == "run" ? "run" : "look") "-" sprintf("%03d", commands) ".sh",
                 "# " name ":" line "\n" body)
    } else if (what == "cmake | ") {
        ++cmakes
        write_to(out "/cmake/" sprintf("%03d", cmakes) ".cmake", "# " name ":" line "\n" body)
    } else {
        unchecked(line, "a block of \\\"" kind "\\\", marked \\\"" marker "\\\"")
    }
}

FNR == 1 {
    if (inside)
        unchecked(opened, "a block without an end")
    inside = 0
    previous = ""
    close_function()
    name = FILENAME
    if (index(name, top) == 1)
        name = substr(name, length(top) + 1)
}

!inside && /^```/ && !/^````/ {
    inside = 1
    opened = FNR
    kind = substr($0, 4)
    marker = previous
    if (marker !~ /^<!-- .* -->$/)
        marker = ""
    gsub(/^<!-- | -->$/, "", marker)
    body = ""
    ++blocks
    next
}

inside && /^```$/ {
    inside = 0
    block(opened)
    previous = ""
    next
}

inside { body = body $0 "\n"; next }

/^[ \t>]*(```|~~~)/ { ++blocks; unchecked(FNR, "a fence that is indented or too long") }

{ previous = $0 }

END {
    if (inside)
        unchecked(opened, "a block without an end")
    close_function()
    write_to(out "/blocks.cpp", \
        "// Made by extract.awk from the documents.\n\n#include \"surroundings.h\"\n\n#include \"hello/handler.h\"\n\n" \
        "namespace {\n\n" code "} // namespace\n\n" \
        "#line 1 \"" out "/blocks.cpp\"\n" \
        "const QList<RunBlock> runBlocks{\n" table "};\n" \
        "const QList<TextBlock> iniBlocks{\n" inis "};\n" \
        "const QList<TextBlock> uncheckedBlocks{\n" unchecked_blocks "};\n" \
        "const QList<TextBlock> blocksOfOtherTests{\n" others "};\n" \
        "const char countOfBlocks[] = \"" (blocks + 0) " blocks: " (compiled + 0) " of C++ compiled into " \
        (functions + 0) " functions, " (run + 0) " of these run, " (compared + 0) " outputs and files compared, " \
        (parsed + 0) " parsed, " (commands + 0) " of commands looked up, " (cmakes + 0) " of CMake, " \
        (in_projects + 0) " files of projects, " (elsewhere + 0) " checked by other tests\";\n")
}
