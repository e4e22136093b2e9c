#include "convert/plan/view.hpp"

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

class ViewBuilder {
public:
    explicit ViewBuilder(const ViewRequest& request) : request_(request) {}

    SharedView root(const DynamicTypeImpl& type) {
        for (const auto& [name, shape] : request_.named)
            if (shape == Shape::ROWS) add_rows(name);
        const SharedView parts = of(type.resolved(), "");
        if (rows_.empty()) return parts;
        View root = *parts;
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
        if (shape != Shape::PARTS) return std::make_shared<const View>(View{.shape = shape});
        // A distinct type is looked through once, but where names tell its parts apart.
        if (names_matter(full_name)) return with_parts({}, type, full_name);
        const auto known = known_.find(type.node().get());
        if (known != known_.end()) return known->second;
        return known_[type.node().get()] = with_parts({}, type, full_name);
    }

    bool names_matter(const std::string& full_name) const {
        const auto next = request_.named.lower_bound(full_name);
        return next != request_.named.end() && next->first.starts_with(full_name);
    }

    Shape shape_of(const DynamicTypeImpl& type, const std::string& full_name) const {
        const auto named = request_.named.find(full_name);
        if (named != request_.named.end()) return named->second;
        const bool is_element = full_name.ends_with(']');
        const bool one_of_many = is_element && request_.blobs == Shape::EXCLUDED;
        return is_blob(type) && !one_of_many ? request_.blobs : Shape::PARTS;
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
    std::map<const TypeNode*, SharedView> known_;
};

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

}  // namespace zun::convert
