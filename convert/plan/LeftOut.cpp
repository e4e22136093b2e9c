#include "convert/plan/LeftOut.hpp"

#include "convert/plan/type_walk.hpp"
#include "platform/xtypes/TypeBuilder.hpp"

namespace zun::convert {

using namespace core::xtypes;

namespace {

bool is_blob(const DynamicTypeImpl& type) {
    if (!is_unbounded(type)) return false;
    const TypeKind kind = CollectionTypeImpl(type.resolved()).content_type().resolved().kind();
    return kind == TypeKind::OCTET_TYPE || kind == TypeKind::UINT_8_TYPE;
}

/// What remains of a member's type; null when nothing does.
std::optional<DynamicTypeImpl> remaining_member(const std::string& name, const DynamicTypeImpl& type,
                                                const LeftOut& parent) {
    const auto concerned = parent.members.find(name);
    if (concerned == parent.members.end()) return type;
    if (concerned->second->whole) return std::nullopt;
    return remaining_type(type, *concerned->second);
}

DynamicTypeImpl remaining_union(const UnionTypeImpl& type, const LeftOut& left_out) {
    UnionSpec spec{.name = type.name(), .discriminator = type.discriminator(), .members = {}};
    for (std::uint32_t i = 0; i < type.member_count(); ++i) {
        const UnionMember& member = type.member(i);
        if (const auto remaining = remaining_member(member.name(), member.type(), left_out))
            spec.members.push_back({member.name(), *remaining, member.labels(), member.is_default()});
    }
    return union_type(std::move(spec));
}

DynamicTypeImpl remaining_structure(const DynamicTypeImpl& type, const LeftOut& left_out) {
    StructSpec spec{.name = type.name(), .members = {}};
    for_each_member(type, [&](const std::string& name, const DynamicTypeImpl& member) {
        if (const auto remaining = remaining_member(name, member, left_out))
            spec.members.push_back({name, *remaining});
    });
    return struct_type(std::move(spec));
}

DynamicTypeImpl remaining_collection(const DynamicTypeImpl& type, const LeftOut& left_out) {
    const DynamicTypeImpl element =
        remaining_type(CollectionTypeImpl(type).content_type(), *left_out.element);
    if (type.kind() == TypeKind::SEQUENCE_TYPE)
        return sequence_type(element, SequenceTypeImpl(type).bounds());
    const ArrayTypeImpl array(type);
    std::vector<std::uint32_t> dimensions;
    for (std::uint32_t i = 0; i < array.dimension_count(); ++i)
        dimensions.push_back(array.dimension(i));
    return array_type(element, dimensions);
}

void add_names(std::vector<std::string>& names, const DynamicTypeImpl& type, const LeftOut& left_out,
               const std::string& full_name) {
    const DynamicTypeImpl resolved = type.resolved();
    if (left_out.whole) return names.push_back(full_name);
    if (left_out.element)
        add_names(names, CollectionTypeImpl(resolved).content_type(), *left_out.element,
                  full_name + any_indices(resolved));
    for_each_member(resolved, [&](const std::string& name, const DynamicTypeImpl& member) {
        const auto concerned = left_out.members.find(name);
        if (concerned != left_out.members.end())
            add_names(names, member, *concerned->second, joined(full_name, name));
    });
}

}  // namespace

std::unique_ptr<LeftOut> blobs_of(const DynamicTypeImpl& type) {
    const DynamicTypeImpl resolved = type.resolved();
    auto left_out = std::make_unique<LeftOut>();
    if (is_collection(resolved)) left_out->element = blobs_of(CollectionTypeImpl(resolved).content_type());
    for_each_member(resolved, [&](const std::string& name, const DynamicTypeImpl& member) {
        auto concerned = blobs_of(member);
        if (is_blob(member)) {
            concerned = std::make_unique<LeftOut>();
            concerned->whole = true;
        }
        if (concerned) left_out->members.emplace(name, std::move(concerned));
    });
    return left_out->element || !left_out->members.empty() ? std::move(left_out) : nullptr;
}

DynamicTypeImpl remaining_type(const DynamicTypeImpl& type, const LeftOut& left_out) {
    const DynamicTypeImpl resolved = type.resolved();
    if (is_collection(resolved)) return remaining_collection(resolved, left_out);
    if (resolved.kind() == TypeKind::UNION_TYPE) return remaining_union(UnionTypeImpl(resolved), left_out);
    return remaining_structure(resolved, left_out);
}

std::vector<std::string> names_of(const DynamicTypeImpl& type, const LeftOut& left_out) {
    std::vector<std::string> names;
    add_names(names, type, left_out, "");
    return names;
}

const LeftOut* LeftOutFilter::member(const char* name) const {
    const LeftOut* const here = places_.back();
    if (here == nullptr) return nullptr;
    const auto concerned = here->members.find(std::string_view(name));
    return concerned == here->members.end() ? nullptr : concerned->second.get();
}

const LeftOut* LeftOutFilter::element() const {
    return places_.back() == nullptr ? nullptr : places_.back()->element.get();
}

/// What the engine calls. Each finds its filter from the record.
struct LeftOutFilter::Calls {
    static LeftOutFilter& filter_of(DDS_PrintFormat* format) {
        return *reinterpret_cast<Record*>(format)->filter;
    }

    /// Passes a call on while no member is muted.
    template <auto Slot, typename... Arguments>
    static void pass(DDS_PrintFormat* format, ZUNXMLSaveContext* context, Arguments... arguments) {
        const LeftOutFilter& filter = filter_of(format);
        if (!filter.muted_depth_) (filter.target_->*Slot)(filter.target_, context, arguments...);
    }

    static void start(DDS_PrintFormat* format, ZUNXMLSaveContext* context, const char* name, int depth) {
        LeftOutFilter& filter = filter_of(format);
        filter.muted_depth_.reset();
        filter.places_.assign(1, filter.root_);
        pass<&DDS_PrintFormat::print_top_level_beginning>(format, context, name, depth);
    }

    template <auto Slot>
    static void enter_member(DDS_PrintFormat* format, ZUNXMLSaveContext* context, const char* name,
                             int depth) {
        LeftOutFilter& filter = filter_of(format);
        const LeftOut* const place = filter.member(name);
        if (!filter.muted_depth_ && place != nullptr && place->whole) {
            filter.muted_depth_ = depth;
            filter.muted_length_ = context->length;
        }
        filter.enter(place);
        pass<Slot>(format, context, name, depth);
    }

    /// The text that the engine wrote for a muted member goes with it.
    template <auto Slot>
    static void leave_member(DDS_PrintFormat* format, ZUNXMLSaveContext* context, const char* name,
                             int depth) {
        LeftOutFilter& filter = filter_of(format);
        filter.places_.pop_back();
        pass<Slot>(format, context, name, depth);
        if (filter.muted_depth_ != depth) return;
        filter.muted_depth_.reset();
        context->length = filter.muted_length_;
    }

    template <auto Slot>
    static void enter_item(DDS_PrintFormat* format, ZUNXMLSaveContext* context, unsigned int index,
                           int depth) {
        LeftOutFilter& filter = filter_of(format);
        filter.enter(filter.element());
        pass<Slot>(format, context, index, depth);
    }

    template <auto Slot>
    static void leave_item(DDS_PrintFormat* format, ZUNXMLSaveContext* context, unsigned int index,
                           int depth) {
        filter_of(format).places_.pop_back();
        pass<Slot>(format, context, index, depth);
    }

    template <auto Slot>
    static void unset(DDS_PrintFormat* format, ZUNXMLSaveContext* context, const char* name, int depth) {
        const LeftOut* const place = filter_of(format).member(name);
        if (place == nullptr || !place->whole) pass<Slot>(format, context, name, depth);
    }
};

LeftOutFilter::LeftOutFilter(const LeftOut& left_out, DDS_PrintFormat& target)
    : record_{target, this}, root_(&left_out), target_(&target) {
    using F = DDS_PrintFormat;
    F& f = record_.format;
    f.print_top_level_beginning = Calls::start;
    f.print_top_level_ending = Calls::pass<&F::print_top_level_ending>;
    f.print_complex_type_beginning = Calls::enter_member<&F::print_complex_type_beginning>;
    f.print_complex_type_ending = Calls::leave_member<&F::print_complex_type_ending>;
    f.print_primitive_type_beginning = Calls::pass<&F::print_primitive_type_beginning>;
    f.print_primitive_type_ending = Calls::pass<&F::print_primitive_type_ending>;
    f.print_array_beginning = Calls::enter_member<&F::print_array_beginning>;
    f.print_array_ending = Calls::leave_member<&F::print_array_ending>;
    f.print_complex_item_beginning = Calls::enter_item<&F::print_complex_item_beginning>;
    f.print_complex_item_ending = Calls::leave_item<&F::print_complex_item_ending>;
    f.print_primitive_item_beginning = Calls::pass<&F::print_primitive_item_beginning>;
    f.print_primitive_item_ending = Calls::pass<&F::print_primitive_item_ending>;
    f.print_array_item_beginning = Calls::enter_item<&F::print_array_item_beginning>;
    f.print_array_item_ending = Calls::leave_item<&F::print_array_item_ending>;
    f.print_union_discriminator_beginning = Calls::pass<&F::print_union_discriminator_beginning>;
    f.print_union_discriminator_ending = Calls::pass<&F::print_union_discriminator_ending>;
    f.print_unset_optional_member_beginning = Calls::unset<&F::print_unset_optional_member_beginning>;
    f.print_unset_optional_member_ending = Calls::unset<&F::print_unset_optional_member_ending>;
}

}  // namespace zun::convert
