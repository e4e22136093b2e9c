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
std::string dtype_of(const std::string& kind, const Sidecar& sidecar) {
    if (kind == "time" && sidecar.time_format == TimeFormat::NANOSECONDS) return "Int64";
    for (const auto& [name, dtype] : dtypes)
        if (name == kind) return dtype;
    return kind == "enum" && !sidecar.enum_as_string ? "Int64" : "string";
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
    const bool both = sidecar.clock == Clock::BOTH;
    Json columns = Json::array();
    for (const ListedColumn& column : column_list(*sidecar.limits, both, sidecar.column_names)) {
        Json json = {{"name", column.name}, {"type", column.kind}, {"dtype", dtype_of(column.kind, sidecar)}};
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

const char* name_of(Clock clock) {
    switch (clock) {
        case Clock::RECEPTION:
            return "reception";
        case Clock::SOURCE:
            return "source";
        case Clock::BOTH:
            return "both";
        case Clock::FIELD:
            return "field";
    }
    return "";
}

/// Python that makes times of table[name], which is text or nanoseconds, without loss.
std::string exact_times(TimeFormat format) {
    const std::string nanoseconds = R"(table[name].str.replace(".", "", regex=False).astype("Int64"))";
    switch (format) {
        case TimeFormat::NANOSECONDS:
        case TimeFormat::RFC3339:
            return "pd.to_datetime(table[name])";
        case TimeFormat::SECONDS:
            return "pd.to_datetime(" + nanoseconds + ")";
        case TimeFormat::ELAPSED:
            return "pd.to_timedelta(" + nanoseconds + ")";
    }
    return "";
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
           ", encoding=\"utf-8\") as file:\n    schema = json.load(file)" + reading +
           "for name in [column[\"name\"] for column in schema[\"columns\"] if column[\"type\"] == "
           "\"time\"]:\n"
           "    table[name] = " +
           exact_times(sidecar.time_format) + '\n';
}

}  // namespace

void print_sidecar(std::ostream& out, const Sidecar& sidecar) {
    Json json = {{"topic", sidecar.topic},
                 {"type", sidecar.type_name},
                 {"files", sidecar.files},
                 {"clock", name_of(sidecar.clock)},
                 {"time_format", name_of(sidecar.time_format)},
                 {"empty", sidecar.empty_text}};
    if (sidecar.clock == Clock::FIELD) json["clock_field"] = sidecar.clock_field;
    json["limits"] = limits_of(*sidecar.limits);
    json["pandas"] = pandas_snippet(sidecar);
    json["definition"] = sidecar.definition;
    json["columns"] = columns_of(sidecar);
    out << json.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

}  // namespace zun::convert
