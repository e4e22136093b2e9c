#include "schema/TypeCatalog.hpp"

#include <deque>
#include <functional>
#include <map>
#include <tuple>
#include <utility>
#include <vector>

#include "schema/TypeFolder.hpp"
#include "schema/definition/TypeName.hpp"
#include "schema/definition/TypeResolver.hpp"
#include "schema/schema_text.hpp"

namespace zun::schema {

namespace {

bool is_known_encoding(const std::string& encoding) {
    return encoding.empty() || encoding == "unknown" || encoding == "ros2msg" || encoding == "ros2idl" ||
           encoding == "omgidl";
}

/// True for the texts that recorders write when they found no definition.
bool carries_nothing(const std::string& type_name, const std::string& encoding, const std::string& text) {
    if (encoding.empty() || encoding == "unknown") return true;
    if (text.find_first_not_of(" \t\r\n") != std::string::npos) return false;
    const std::string name = ros_name(type_name);
    return encoding != "ros2msg" || last_name(outer_scope(name)) != "msg";
}

}  // namespace

struct TypeCatalog::Impl {
    using Source = std::function<const Definition*(const std::string& name)>;
    using Key = std::tuple<std::string, std::string, std::string>;  // type name, encoding, text

    std::deque<TypeFolder> folders;
    std::vector<Source> sources;  // outside the recording, the first one added first
    std::map<Key, core::xtypes::DynamicTypeImpl> types;

    core::xtypes::DynamicTypeImpl read(const Key& key);
};

core::xtypes::DynamicTypeImpl TypeCatalog::Impl::read(const Key& key) {
    const auto& [type_name, encoding, text] = key;
    if (!is_known_encoding(encoding))
        throw InputError(type_name, 1, "a definition in the encoding '" + encoding + "' cannot be read");
    DefinitionTable own(type_name);
    if (!carries_nothing(type_name, encoding, text)) own = read_schema(type_name, type_name, encoding, text);

    std::vector<Source> all{[&](const std::string& name) { return own.find(name); }};
    all.insert(all.end(), sources.begin(), sources.end());
    all.emplace_back([](const std::string& name) { return well_known_definitions().find(name); });
    const auto find = [&](const std::vector<std::string>& names) -> const Definition* {
        if (names.front().starts_with("*::")) return own.find(names.front());
        for (const Source& source : all)
            for (const std::string& name : names)
                if (const Definition* found = source(name)) return found;
        return nullptr;
    };

    const std::vector<std::string> names = candidate_names(type_name);
    if (const Definition* definition = find(names)) return TypeResolver(find).type_of(*definition);
    if (own.failure()) throw InputError(*own.failure());
    throw UnknownType(InputError(type_name, 1, "the type has no definition"), type_name);
}

TypeCatalog::TypeCatalog() : impl_(std::make_unique<Impl>()) {}
TypeCatalog::~TypeCatalog() = default;

void TypeCatalog::add_folder(const std::filesystem::path& folder) {
    TypeFolder& added = impl_->folders.emplace_back(folder);
    impl_->sources.emplace_back([&added](const std::string& name) { return added.find(name); });
}

void TypeCatalog::add_definition(const std::string& type_name, const std::string& encoding,
                                 const std::string& text) {
    if (!is_known_encoding(encoding) || carries_nothing(type_name, encoding, text)) return;
    impl_->sources.emplace_back([table = read_schema(type_name, type_name, encoding, text)](
                                    const std::string& name) { return table.find(name); });
}

core::xtypes::DynamicTypeImpl TypeCatalog::type_of(const std::string& type_name, const std::string& encoding,
                                                   const std::string& text) {
    const Impl::Key key{type_name, encoding, text};
    const auto known = impl_->types.find(key);
    if (known != impl_->types.end()) return known->second;
    return impl_->types.emplace(key, impl_->read(key)).first->second;
}

}  // namespace zun::schema
