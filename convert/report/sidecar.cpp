#include "convert/report/sidecar.hpp"

#include <nlohmann/json.hpp>
#include <string_view>
#include <utility>

#include "convert/plan/column_list.hpp"

namespace zun::convert {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::pair<std::string_view, const char*> dtypes[] = {
    {"boolean", "boolean"}, {"octet", "UInt8"},   {"int8", "Int8"},       {"uint8", "UInt8"},
    {"int16", "Int16"},     {"uint16", "UInt16"}, {"int32", "Int32"},     {"uint32", "UInt32"},
    {"int64", "Int64"},     {"uint64", "UInt64"}, {"float32", "float32"}, {"float64", "float64"},
    {"bitmask", "UInt64"},  {"length", "UInt32"}};

/// What pandas calls the type of a column. Integers and truth values are those that can be missing; more
/// digits than a double has stay text.
std::string dtype_of(const std::string& kind, bool enum_as_string) {
    for (const auto& [name, dtype] : dtypes)
        if (name == kind) return dtype;
    return kind == "enum" && !enum_as_string ? "Int64" : "string";
}

const char* name_of(Limits::Origin origin) {
    switch (origin) {
        case Limits::Origin::PLAIN:
            return "bound";
        case Limits::Origin::MEASURED:
            return "measured";
        case Limits::Origin::HELD:
            return "held";
        case Limits::Origin::FILE:
            return "file";
        case Limits::Origin::RULE:
            return "limit";
    }
    return "";
}

Json columns_of(const Sidecar& sidecar) {
    Json columns = Json::array();
    for (const std::string& name : sidecar.time_columns)
        columns.push_back({{"name", name},
                           {"type", "time"},
                           {"dtype", sidecar.time_format == "nanoseconds" ? "int64" : "string"}});
    for (const ListedColumn& column : column_list(*sidecar.limits)) {
        Json json = {{"name", column.name},
                     {"type", column.kind},
                     {"dtype", dtype_of(column.kind, sidecar.enum_as_string)}};
        if (column.elements) json["elements"] = *column.elements;
        if (!column.unit.empty()) json["unit"] = column.unit;
        columns.push_back(std::move(json));
    }
    return columns;
}

Json limits_of(const Limits& limits) {
    Json list = Json::array();
    for (const Limits::Field& field : limits.fields())
        list.push_back(
            {{"field", field.full_name}, {"elements", field.limit}, {"from", name_of(field.origin)}});
    return list;
}

/// Python that turns the times, as text or nanoseconds, into what to_datetime() takes without loss.
std::string exact_times(const std::string& time_format) {
    return time_format == "seconds" ? R"(table[name].str.replace(".", "", regex=False).astype("int64"))"
                                    : "table[name]";
}

/// Integers of 64 bits are read as text, since pandas makes doubles of those with missing values between
/// them.
constexpr const char* reading = R"(
columns = {column["name"]: column["dtype"] for column in schema["columns"]}
wide = [name for name, dtype in columns.items() if dtype in ("Int64", "UInt64")]
missing = {name: [schema["empty"]] + ["nan"] * dtype.startswith("float") for name, dtype in columns.items()}
table = pd.concat([
    pd.read_csv(file, dtype=columns | dict.fromkeys(wide, "string"), na_values=missing, keep_default_na=False,
                float_precision="round_trip", encoding="utf-8-sig")
    for file in schema["files"]], ignore_index=True)
for name in wide:
    cells = [cell if cell is pd.NA else int(cell) for cell in table[name]]
    table[name] = pd.Series(cells, dtype=object).astype(columns[name])
)";

std::string pandas_snippet(const Sidecar& sidecar) {
    const auto quoted = [](const auto& value) {
        return Json(value).dump(-1, ' ', true, Json::error_handler_t::replace);
    };
    return "import json\nimport pandas as pd\n\nwith open(" + quoted(sidecar.file) +
           ", encoding=\"utf-8\") as file:\n    schema = json.load(file)" + reading + "for name in " +
           quoted(sidecar.time_columns) + ":\n    table[name] = pd.to_datetime(" +
           exact_times(sidecar.time_format) + ")\n";
}

}  // namespace

void print_sidecar(std::ostream& out, const Sidecar& sidecar) {
    Json json = {
        {"topic", sidecar.topic}, {"type", sidecar.type_name},          {"files", sidecar.files},
        {"clock", sidecar.clock}, {"time_format", sidecar.time_format}, {"empty", sidecar.empty_text}};
    json["limits"] = limits_of(*sidecar.limits);
    json["pandas"] = pandas_snippet(sidecar);
    json["definition"] = sidecar.definition;
    json["columns"] = columns_of(sidecar);
    out << json.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

}  // namespace zun::convert
