# Makes the tables of the client API out of its headers: what the Python module says about records,
# enumerations and methods is what the headers say.
#
# usage: awk -f api-tables.awk HEADER...
#
# Reads headers as clang-format leaves them. A structure with a function in it is left out.

BEGIN {
    print "// Made by python/api-tables.awk.\n#pragma once\n\n#include \"api_tables.h\"\n"
    print "namespace ApiTables {\n\nusing namespace Vek::Sensors;\n"
}

function quoted(text) {
    gsub(/\\/, "\\\\", text)
    gsub(/"/, "\\\"", text)
    gsub(/\n/, "\\n", text)
    return "\"" text "\""
}

# "appendPCMHaptics" gives "append_pcm_haptics"; a word of Python's own gets an underscore behind it.
function pythonName(name,    result, i, letter) {
    for (i = 1; i <= length(name); ++i) {
        letter = substr(name, i, 1)
        if (i > 1 && letter ~ /[A-Z]/ &&
            (substr(name, i - 1, 1) ~ /[a-z]/ || substr(name, i + 1, 1) ~ /[a-z]/)) {
            result = result "_"
        }
        result = result tolower(letter)
    }
    return result == "from" ? "from_" : result
}

/^ *\/\/\/ ?/ {
    line = $0
    sub(/^ *\/\/\/ ?/, "", line)
    if (line ~ /^@param /) {
        sub(/^@param /, "", line)
        match(line, /^[A-Za-z0-9]+/)
        line = "\n" pythonName(substr(line, 1, RLENGTH)) ": " substr(line, RLENGTH + 2)
    }
    sub(/^@return /, "\nreturns: ", line)
    doc = doc == "" ? line : doc "\n" line
    next
}

/^(struct|enum class|enum|class) [A-Za-z]+( : [a-z0-9_]+)? \{$/ {
    kind = $1
    owner = $2 == "class" ? $3 : $2
    ownerDoc = doc
    doc = ""
    memberCount = isFlags = hasFunctions = 0
    if (kind == "class") {
        declarations = declarations "    {\"" owner "\", \"\", \"\", \"\", " quoted(ownerDoc) "},\n"
    }
    next
}

# virtual bool method(const Type& first,
#                     uint8_t second) = 0;
/^    virtual / && kind == "class" {
    declaration = $0
    while (declaration !~ /;$/ && (getline line) > 0) {
        sub(/^ +/, " ", line)
        declaration = declaration line
    }
    if (declaration ~ /~/) {
        doc = ""
        next
    }
    match(declaration, /[A-Za-z0-9]+\(/)
    method = substr(declaration, RSTART, RLENGTH - 1)
    parameters = substr(declaration, RSTART + RLENGTH)
    sub(/\) = 0;$/, "", parameters)
    while (gsub(/<[^<>]*>/, "", parameters)) {}
    gsub(/[^,]*[ &*]/, "", parameters)
    count = split(parameters, names, ",")
    parameters = ""
    for (i = 1; i <= count; ++i) {
        parameters = parameters (i == 1 ? "" : ",") pythonName(names[i])
    }
    declarations = declarations "    {\"" owner "\", \"" method "\", \"" pythonName(method) "\", \"" \
        parameters "\", " quoted(doc) "},\n"
    doc = ""
    next
}

kind == "struct" && /\(/ { hasFunctions = 1 }

# uint32_t sequence;   float rate{};   uint8_t finger : 2;
kind == "struct" && /^    [^ ].*;$/ {
    name = $0
    isBitField = name ~ / : [0-9]+;$/
    sub(/(\{[^}]*\})?( : [0-9]+)?;$/, "", name)
    sub(/.* /, "", name)
    members[++memberCount] = name
    memberDocs[memberCount] = doc
    # A bit field has no address.
    returned[memberCount] = isBitField ? "auto" : "auto&"
    doc = ""
    next
}

# NAME = 1U << 2,
kind ~ /^enum/ && /^    [A-Z0-9_]+ = / {
    isFlags = isFlags || /<</
    members[++memberCount] = $1
    doc = ""
    next
}

/^};/ && kind == "struct" && !hasFunctions {
    print "template <>\nstruct Record<" owner "> {"
    print "    static constexpr char kName[] = \"" owner "\";"
    print "    static constexpr char kDoc[] = " quoted(ownerDoc) ";"
    print "    template <typename Visitor>\n    static void visit(Visitor&& visitor) {"
    for (i = 1; i <= memberCount; ++i) {
        print "        visitor(\"" members[i] "\", " quoted(memberDocs[i]) ", [](auto& record) -> " \
            returned[i] " { return record." members[i] "; });"
    }
    print "    }\n};\n"
}

/^};/ && kind ~ /^enum/ {
    print "template <>\nstruct Enumeration<" owner "> {"
    print "    static constexpr char kName[] = \"" owner "\";"
    print "    static constexpr char kDoc[] = " quoted(ownerDoc) ";"
    print "    static constexpr bool kIsFlags = " (isFlags ? "true" : "false") ";"
    print "    static std::vector<std::pair<const char*, " owner ">> values() {\n        return {"
    for (i = 1; i <= memberCount; ++i) {
        print "            {\"" members[i] "\", " owner "::" members[i] "},"
    }
    print "        };\n    }\n};\n"
    enumerations = enumerations (enumerations == "" ? "" : ", ") owner
}

/^};/ { kind = "" }

{ doc = "" }

END {
    print "using Enumerations = std::tuple<" enumerations ">;\n"
    print "inline constexpr Declaration kDeclarations[] = {\n" declarations "};\n"
    print "}  // namespace ApiTables"
}
