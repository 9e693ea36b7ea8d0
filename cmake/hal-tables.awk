# Makes the tables of a HAL package out of the C++ headers that hidl-gen wrote for it.
#
# usage: awk -v package=<name@version> -v table=methods|fields -f hal-tables.awk HEADER...
#
# methods: every interface's methods, as types and names, a class that hands all calls of an
# interface to one function, and the records that the service writes into queues.
# fields: the fields of every record, as macros and for visitors.

BEGIN {
    path = namespace = package
    gsub(/[.@]/, "/", path)
    sub(/\/[0-9]+\/[0-9]+$/, "", path)
    version = substr(package, index(package, "@") + 1)
    gsub(/\./, "::", namespace)
    sub(/@.*/, "", namespace)
    v = version
    gsub(/\./, "_", v)
    namespace = namespace "::V" v
    print "// Made by cmake/hal-tables.awk.\n#pragma once"
}

# virtual ::android::hardware::Return<bool> method(const Type& first, uint8_t second) = 0;
table == "methods" && /^    virtual .*\) = 0;$/ {
    interface = FILENAME
    sub(/.*\//, "", interface)
    sub(/\.h$/, "", interface)
    if (interface != last) {
        interfaces[++interfaceCount] = last = interface
        counts[interface] = 0
    }
    match($0, /> [A-Za-z0-9_]+\(/)
    method = substr($0, RSTART + 2, RLENGTH - 3)
    parameters = substr($0, RSTART + RLENGTH)
    sub(/\) = 0;$/, "", parameters)
    returned = substr($0, 13, RSTART - 12)
    queues = parameters
    while (match(queues, /MQDescriptorSync<[^>]*>/)) {
        record = substr(queues, RSTART, RLENGTH - 1)
        queues = substr(queues, RSTART + RLENGTH)
        sub(/.*::/, "", record)
        queued = queued " X(" record ")"
    }
    sub(method "_cb _hidl_cb", interface "::&", parameters)
    names = parameters
    while (gsub(/<[^<>]*>/, "", names)) {}
    gsub(/[^,]* /, " ", names)
    sub(/^ +/, "", names)
    number = ++counts[interface]
    methods[interface, number] = method
    overrides[interface, number] = "    " returned " " method "(" parameters ") override {\n" \
        "        return this->template onCall<&" interface "::" method ">(\n" \
        "            [this](auto&... arguments) -> " returned " {\n" \
        "                return Base::" method "(arguments...);\n            }" \
        (names == "" ? "" : ", ") names ");\n    }\n"
}

# static_assert(offsetof(::vendor::package::V1_0::Record, field) == 0, "wrong offset");
table == "fields" && /^static_assert\(offsetof\(/ {
    record = field = $0
    sub(/, .*/, "", record)
    sub(/.*V[0-9]+_[0-9]+::/, "", record)
    gsub(/::/, "_", record)
    sub(/^[^,]*, /, "", field)
    sub(/\).*/, "", field)
    if (record != last) {
        records[++recordCount] = last = record
    }
    macros[record] = macros[record] " X(" record ", " field ")"
    visits[record] = visits[record] "        visitor(\"" field "\", record." field ");\n"
}

END {
    if (table == "fields") {
        print "#include \"field_table.h\"\n\n#include <" path "/" version "/types.h>\n"
        print "namespace HalTable {\n\nusing namespace ::" namespace ";"
        for (i = 1; i <= recordCount; ++i) {
            record = records[i]
            print "\n#define HAL_FIELDS_OF_" record "(X)" macros[record]
            print "template <>\nstruct FieldsOf<" record "> {"
            print "    static constexpr bool kAreKnown = true;"
            print "    template <typename Record, typename Visitor>"
            print "    static void visit(Record& record, const Visitor& visitor) {"
            print visits[record] "    }\n};"
        }
        print "\n}"
        exit
    }
    print "#include \"method_table.h\"\n"
    for (i = 1; i <= interfaceCount; ++i) {
        base = interfaces[i]
        sub(/^I/, "BpHw", base)
        print "#include <" path "/" version "/" base ".h>"
    }
    print "\nnamespace HalTable {\n\nusing namespace ::" namespace ";"
    for (i = 1; i <= interfaceCount; ++i) {
        interface = interfaces[i]
        list = body = ""
        print ""
        for (m = 1; m <= counts[interface]; ++m) {
            method = methods[interface, m]
            print "template <>\ninline constexpr const char* kMethodName<&" interface "::" method \
                "> = \"" interface "." method "\";"
            list = list (m == 1 ? "" : ", ") "&" interface "::" method
            body = body overrides[interface, m]
        }
        print "template <>\nstruct MethodsOf<" interface "> : MethodList<" list "> {};"
        proxy = interface
        sub(/^I/, "BpHw", proxy)
        print "template <>\nstruct ProxyOf<" interface "> {\n    using Type = " proxy ";\n};"
        print "template <typename Base>\nclass EveryMethod<Base, " interface "> : public Base {"
        print "  public:\n    using Base::Base;\n" body "};"
        all = all (i == 1 ? "" : ", ") interface
    }
    print "\nusing Interfaces = TypeList<" all ">;\n\n}"
    print "\n#define HAL_QUEUED_RECORDS(X)" queued
}
