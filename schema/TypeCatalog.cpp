#include "schema/TypeCatalog.hpp"

#include <deque>
#include <functional>
#include <map>
#include <set>
#include <tuple>
#include <utility>

#include "schema/TypeFolder.hpp"
#include "schema/definition/TypeName.hpp"
#include "schema/definition/TypeResolver.hpp"
#include "schema/schema_text.hpp"
#include "schema/standard/StandardTypes.hpp"

namespace zun::schema {

namespace {

/// Of types that are made of several with several layouts, more are not tried.
constexpr std::size_t most_layouts = 64;

bool is_known_encoding(const std::string& encoding) {
    return encoding.empty() || encoding == "unknown" || encoding == "ros2msg" || encoding == "ros2idl" ||
           encoding == "omgidl";
}

bool is_blank(const std::string& text) {
    return text.find_first_not_of(" \t\r\n") == std::string::npos;
}

/// True for the texts that recorders write when they found no definition. A message without fields has an
/// empty one too.
bool carries_nothing(const std::string& encoding, const std::string& text) {
    return encoding.empty() || encoding == "unknown" || is_blank(text);
}

bool can_be_empty(const std::string& type_name, const std::string& encoding) {
    return encoding == "ros2msg" && last_name(outer_scope(ros_name(type_name))) == "msg";
}

/// Which layout of each standard type is meant, the newest at first.
class LayoutChoice {
public:
    std::size_t of(const std::string& name, std::size_t count) {
        return chosen_.try_emplace(name, Choice{0, count}).first->second.layout;
    }

    /// False when all combinations were there.
    bool advance() {
        for (auto& [name, choice] : chosen_) {
            if (++choice.layout < choice.count) return true;
            choice.layout = 0;
        }
        return false;
    }

private:
    struct Choice {
        std::size_t layout, count;
    };
    std::map<std::string, Choice> chosen_;
};

}  // namespace

struct TypeCatalog::Impl {
    using Source = std::function<const Definition*(const std::string& name)>;
    using Key = std::tuple<std::string, std::string, std::string>;  // type name, encoding, text

    std::deque<TypeFolder> folders;
    std::vector<Source> sources;  // outside the recording, the first one added first
    bool uses_standard_types = true;
    StandardTypes standard;
    std::map<Key, KnownType> types;
    std::map<Key, std::vector<const Definition*>> used;    // definitions of other texts that a type needs
    std::map<std::string, DefinitionText> recorded_texts;  // of other recordings, by type name

    KnownType read(const Key& key);
    core::xtypes::DynamicTypeImpl read(const Key& key, DefinitionTable& own, LayoutChoice& choice,
                                       KnownType& known);
    DefinitionText text_of(const Definition& definition);
};

KnownType TypeCatalog::Impl::read(const Key& key) {
    const auto& [type_name, encoding, text] = key;
    if (!is_known_encoding(encoding))
        throw InputError(type_name, 1, "a definition in the encoding '" + encoding + "' cannot be read");
    DefinitionTable own(type_name);
    if (!carries_nothing(encoding, text)) own = read_schema(type_name, type_name, encoding, text);
    KnownType known;
    LayoutChoice choice;
    try {
        do
            known.layouts.push_back(read(key, own, choice, known));
        while (known.layouts.size() < most_layouts && choice.advance());
    } catch (const UnknownType&) {
        if (own.failure()) throw InputError(*own.failure());
        if (!can_be_empty(type_name, encoding) || !is_blank(text)) throw;
        own = read_schema(type_name, type_name, encoding, text);
        known.layouts.push_back(read(key, own, choice, known));
        known.uncertain = true;
    }
    known.uncertain = known.uncertain || known.layouts.size() > 1;
    return known;
}

core::xtypes::DynamicTypeImpl TypeCatalog::Impl::read(const Key& key, DefinitionTable& own,
                                                      LayoutChoice& choice, KnownType& known) {
    const std::string& type_name = std::get<0>(key);
    std::vector<const Definition*> from_others;
    std::map<const Definition*, std::string> built_in;
    const auto find_standard = [&](const std::string& name) -> const Definition* {
        // Times belong to the language: recorders leave them out, and nobody needs to be told.
        const bool is_basic = name.starts_with("builtin_interfaces::");
        const std::size_t count = uses_standard_types || is_basic ? standard.layout_count(name) : 0;
        if (count == 0) return nullptr;
        const Definition* const found = standard.find(name, count > 1 ? choice.of(name, count) : 0);
        if (!is_basic) built_in.emplace(found, display_name(name));
        return found;
    };
    std::vector<Source> all{[&](const std::string& name) { return own.find(name); }};
    all.insert(all.end(), sources.begin(), sources.end());
    all.emplace_back(find_standard);
    const auto find = [&](const std::vector<std::string>& names) -> const Definition* {
        if (names.front().starts_with("*::")) return own.find(names.front());
        for (const Source& source : all)
            for (const std::string& name : names)
                if (const Definition* found = source(name)) {
                    if (&source != &all.front()) from_others.push_back(found);
                    return found;
                }
        return nullptr;
    };

    const Definition* definition = find(candidate_names(type_name));
    known.recorded = from_others.empty();
    if (!definition && name_parts(type_name).size() == 1) {
        definition = own.find("*::" + type_name);
        if (definition)
            known.hint = "the recording calls its type '" + type_name + "'; '" +
                         display_name(definition->name) + "', the only one of that name, is used";
    }
    if (!definition) throw UnknownType(InputError(type_name, 1, "the type has no definition"), type_name);
    const bool whole = built_in.contains(definition);
    auto type = TypeResolver(find).type_of(*definition);
    for (const auto& [found, name] : built_in)
        if (!whole || found == definition) known.built_in.insert(name);
    used.try_emplace(key, std::move(from_others));  // of the newest layout
    return type;
}

TypeCatalog::TypeCatalog() : impl_(std::make_unique<Impl>()) {}
TypeCatalog::~TypeCatalog() = default;

void TypeCatalog::leave_out_standard_types() {
    impl_->uses_standard_types = false;
}

void TypeCatalog::add_folder(const std::filesystem::path& folder) {
    TypeFolder& added = impl_->folders.emplace_back(folder);
    impl_->sources.emplace_back([&added](const std::string& name) { return added.find(name); });
}

void TypeCatalog::add_definition(const std::string& type_name, const std::string& encoding,
                                 const std::string& text) {
    if (!is_known_encoding(encoding) || carries_nothing(encoding, text)) return;
    impl_->recorded_texts.try_emplace(type_name,
                                      DefinitionText{encoding == "ros2msg" ? "MSG" : "IDL", type_name, text});
    const auto table =
        std::make_shared<const DefinitionTable>(read_schema(type_name, type_name, encoding, text));
    impl_->sources.emplace_back([table](const std::string& name) { return table->find(name); });
}

const KnownType& TypeCatalog::find(const std::string& type_name, const std::string& encoding,
                                   const std::string& text) {
    const Impl::Key key{type_name, encoding, text};
    const auto known = impl_->types.find(key);
    if (known != impl_->types.end()) return known->second;
    return impl_->types.emplace(key, impl_->read(key)).first->second;
}

/// The whole text that holds `definition`, which is no channel's own.
DefinitionText TypeCatalog::Impl::text_of(const Definition& definition) {
    if (const Section* const section = standard.section(definition.name, 0);
        section && standard.find(definition.name, 0) == &definition)
        return {std::string(section->keyword), std::string(section->name), std::string(section->body)};
    const auto recorded = recorded_texts.find(definition.source);
    if (recorded != recorded_texts.end()) return recorded->second;
    std::string keyword = std::filesystem::path(definition.source).extension().string().substr(1);
    for (char& letter : keyword)
        letter = static_cast<char>(letter - 'a' + 'A');
    return {keyword, display_name(definition.name), read_definition_file(definition.source)};
}

std::vector<DefinitionText> TypeCatalog::texts_of(const std::string& type_name, const std::string& encoding,
                                                  const std::string& text) {
    find(type_name, encoding, text);
    std::vector<DefinitionText> texts;
    if (!carries_nothing(encoding, text))
        texts.push_back({encoding == "ros2msg" ? "MSG" : "IDL", type_name, text});
    std::set<std::string> told;
    for (const Definition* definition : impl_->used[{type_name, encoding, text}]) {
        DefinitionText found = impl_->text_of(*definition);
        if (told.insert(found.text).second) texts.push_back(std::move(found));
    }
    return texts;
}

std::string whole_text(const std::vector<DefinitionText>& texts) {
    std::string text;
    for (const auto& part : texts) {
        if (!text.empty()) text += std::string(80, '=') + '\n' + part.keyword + ": " + part.name + '\n';
        text += part.text;
        if (text.empty() || text.back() != '\n') text += '\n';
    }
    return text;
}

std::vector<std::string> TypeCatalog::names() {
    std::set<std::string> names;
    const auto add = [&](const std::vector<std::string>& found) {
        for (const std::string& name : found)
            names.insert(display_name(name));
    };
    for (TypeFolder& folder : impl_->folders)
        add(folder.names());
    for (const auto& [name, text] : impl_->recorded_texts)
        add({name});
    if (impl_->uses_standard_types) add(impl_->standard.names());
    return {names.begin(), names.end()};
}

}  // namespace zun::schema
