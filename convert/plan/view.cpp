#include "convert/plan/view.hpp"

#include <algorithm>
#include <initializer_list>
#include <string_view>
#include <utility>
#include <vector>

#include "convert/plan/explode.hpp"
#include "convert/plan/type_walk.hpp"

namespace zun::convert {

using namespace core::xtypes;

namespace {

using cdr::View;
using Shape = View::Shape;
using SharedView = std::shared_ptr<const View>;

/// 0 for a sequence.
std::uint32_t size_of_array(const DynamicTypeImpl& type) {
    return type.kind() == TypeKind::ARRAY_TYPE ? ArrayTypeImpl(type).total_element_count() : 0;
}

bool is_text_array(const DynamicTypeImpl& type) {
    const Part part(type);
    if (!part.is_collection() || element_of(part).type.kind() != TypeKind::CHAR_8_TYPE) return false;
    return part.is_sequence() || ArrayTypeImpl(type).dimension_count() == 1;
}

bool is_member_called(const StructTypeImpl& type, std::uint32_t index,
                      std::initializer_list<const char*> names) {
    const MemberImpl& member = type.member(index);
    const TypeKind kind = member.type().resolved().kind();
    return (kind == TypeKind::INT_32_TYPE || kind == TypeKind::UINT_32_TYPE) && !member.is_optional() &&
           std::find(names.begin(), names.end(), std::string_view(member.name())) != names.end();
}

/// STAMP or DURATION for two numbers called seconds and nanoseconds, in some form; else PARTS.
Shape shape_of_stamp(const DynamicTypeImpl& type) {
    if (type.kind() != TypeKind::STRUCTURE_TYPE) return Shape::PARTS;
    const StructTypeImpl structure(type);
    if (structure.member_count() != 2 || structure.has_parent() || structure.bit_size() > 0 ||
        !is_member_called(structure, 0, {"sec", "secs", "seconds"}) ||
        !is_member_called(structure, 1, {"nanosec", "nanosecs", "nanoseconds", "nsec", "nsecs"}))
        return Shape::PARTS;
    const std::string& name = type.name();
    const std::size_t last = name.find_last_of(":/.") + 1;  // 0 without any
    return name.substr(last).starts_with("Duration") ? Shape::DURATION : Shape::STAMP;
}

class ViewBuilder {
public:
    explicit ViewBuilder(const ViewRequest& request) : request_(request) {}

    SharedView root(const DynamicTypeImpl& type) {
        for (const auto& [name, shape] : request_.named)
            if (shape == Shape::ROWS) add_rows(name);
        SharedView parts = of(type.resolved(), "");
        if (rows_.empty() && files_.empty()) return parts;
        View root = *parts;
        root.files = files_;
        for (const auto& [name, rows] : rows_)
            root.rows.push_back(rows);
        return std::make_shared<const View>(std::move(root));
    }

private:
    SharedView of(const DynamicTypeImpl& declared, const std::string& full_name) {
        const DynamicTypeImpl type = declared.resolved();
        const Shape shape = shape_of(type, full_name);
        if (shape == Shape::ROWS) return with_parts(rows_view(full_name), type, full_name);
        if (shape == Shape::EXCLUDED) return excluded_;
        if (shape == Shape::FILE) files_.push_back(full_name);
        if (shape != Shape::PARTS)
            return std::make_shared<const View>(
                View{.shape = shape, .number = static_cast<std::uint32_t>(files_.size() - 1)});
        // A distinct type is looked through once, but where names tell its parts apart.
        if (names_matter(full_name)) return with_parts({}, type, full_name);
        const auto known = known_.find(type.node().get());
        if (known != known_.end()) return known->second;
        return known_[type.node().get()] = with_parts({}, type, full_name);
    }

    bool names_matter(const std::string& full_name) const {
        if (request_.blobs == Blobs::FILES) return true;
        const auto next = request_.named.lower_bound(full_name);
        return next != request_.named.end() && next->first.starts_with(full_name);
    }

    Shape shape_of(const DynamicTypeImpl& type, const std::string& full_name) const {
        const auto named = request_.named.find(full_name);
        if (named != request_.named.end()) return named->second;
        if (is_blob(type)) return shape_of_blob(type, full_name.ends_with(']'));
        if (request_.text_arrays && is_text_array(type)) return Shape::CHARACTERS;
        return request_.joined_stamps ? shape_of_stamp(type) : Shape::PARTS;
    }

    Shape shape_of_blob(const DynamicTypeImpl& type, bool is_element) const {
        switch (request_.blobs) {
            case Blobs::AUTO:
                return size_of_array(type) > most_blob_columns ? Shape::LENGTH : Shape::PARTS;
            case Blobs::COLUMNS:
                return Shape::PARTS;
            case Blobs::SKIP:
                return is_element ? Shape::PARTS : Shape::EXCLUDED;
            case Blobs::LENGTH:
                return Shape::LENGTH;
            case Blobs::HEX:
                return Shape::HEX;
            case Blobs::BASE64:
                return Shape::BASE64;
            case Blobs::FILES:
                return Shape::FILE;
        }
        return Shape::PARTS;
    }

    View rows_view(const std::string& full_name) const {
        return {.shape = Shape::ROWS, .number = place_of(full_name), .column = column_of(full_name)};
    }

    /// Null where it shows the type as it is.
    SharedView with_parts(View view, const DynamicTypeImpl& type, const std::string& full_name) {
        const Part part(type, nullptr, full_name);
        if (part.is_collection()) {
            const Part element = element_of(part);
            view.element = of(element.type, element.full_name);
        }
        for_each_member(type, [&](const std::string& name, const DynamicTypeImpl& member) {
            if (auto shown = of(member, joined(full_name, name)))
                view.members.emplace(name, std::move(shown));
        });
        const bool as_it_is = view.shape == Shape::PARTS && !view.element && view.members.empty();
        return as_it_is ? nullptr : std::make_shared<const View>(std::move(view));
    }

    // ---- rows

    void add_rows(const std::string& full_name) {
        const std::size_t around = full_name.rfind("[*]");
        View::Rows rows{.level = 0, .around = static_cast<std::uint32_t>(rows_.size())};
        if (around != std::string::npos) {
            rows.around = place_of(full_name.substr(0, around));
            rows.level = rows_[rows.around].second.level + 1;
        }
        rows_.emplace_back(full_name, rows);
    }

    std::uint32_t place_of(const std::string& full_name) const {
        std::uint32_t place = 0;
        while (rows_[place].first != full_name)
            ++place;
        return place;
    }

    static std::string column_of(const std::string& full_name) {
        std::string column = full_name + "[*]";
        std::uint32_t level = 0;
        for (std::size_t at = column.find("[*]"); at != std::string::npos; at = column.find("[*]"))
            column[at + 1] = index_letter(level++);
        return column;
    }

    const ViewRequest& request_;
    const SharedView excluded_ = std::make_shared<const View>(View{.shape = Shape::EXCLUDED});  // of all
    std::vector<std::pair<std::string, View::Rows>> rows_;  // with the names of the sequences
    std::vector<std::string> files_;                        // full names of the fields
    std::map<const TypeNode*, SharedView> known_;
};

/// `rest`  of the stamp's full name, from a member of `type` on
SharedView stamp_in(const DynamicTypeImpl& type, std::string_view rest) {
    const std::string_view name = rest.substr(0, rest.find('.'));
    const std::string_view below = rest.substr(std::min(name.size() + 1, rest.size()));
    if (type.resolved().kind() != TypeKind::STRUCTURE_TYPE) return nullptr;
    static const auto excluded = std::make_shared<const View>(View{.shape = Shape::EXCLUDED});
    View view;
    SharedView stamp;
    for_each_member(type.resolved(), [&](const std::string& member, const DynamicTypeImpl& member_type) {
        if (member != name) {
            view.members.emplace(member, excluded);
            return;
        }
        if (!below.empty())
            stamp = stamp_in(member_type, below);
        else if (shape_of_stamp(member_type.resolved()) == Shape::STAMP)
            stamp = std::make_shared<const View>(View{.shape = Shape::STAMP});
        view.members.emplace(member, stamp);
    });
    return stamp == nullptr ? nullptr : std::make_shared<const View>(std::move(view));
}

}  // namespace

bool is_blob(const DynamicTypeImpl& type) {
    const Part part(type);
    if (!part.is_collection()) return false;
    const TypeKind kind = element_of(part).type.kind();
    return kind == TypeKind::OCTET_TYPE || kind == TypeKind::UINT_8_TYPE;
}

SharedView view_of(const DynamicTypeImpl& type, const ViewRequest& request) {
    return ViewBuilder(request).root(type);
}

SharedView clock_view_of(const DynamicTypeImpl& type, const std::string& field) {
    const SharedView view = stamp_in(type, field);
    return view != nullptr ? view : stamp_in(type, field + ".stamp");
}

}  // namespace zun::convert
