#include "convert/plan/LeftOut.hpp"

#include "convert/plan/type_walk.hpp"

namespace zun::convert {

using namespace core::xtypes;

namespace {

/// Finds the byte collections of a type; each distinct type in it is looked through once.
class BlobSearch {
public:
    std::shared_ptr<const LeftOut> in(const DynamicTypeImpl& declared) {
        const DynamicTypeImpl type = declared.resolved();
        const auto known = known_.find(type.node().get());
        if (known != known_.end()) return known->second;
        return known_[type.node().get()] = searched(type);
    }

private:
    std::shared_ptr<const LeftOut> searched(const DynamicTypeImpl& type) {
        LeftOut found;
        if (Part(type).is_collection()) found.element = in(CollectionTypeImpl(type).content_type());
        for_each_member(type, [&](const std::string& name, const DynamicTypeImpl& member) {
            if (auto concerned = is_blob(member) ? blob_ : in(member))
                found.members.emplace(name, std::move(concerned));
        });
        const bool any = found.element || !found.members.empty();
        return any ? std::make_shared<const LeftOut>(std::move(found)) : nullptr;
    }

    const std::shared_ptr<const LeftOut> blob_ = std::make_shared<const LeftOut>(LeftOut{true, {}, {}});
    std::map<const TypeNode*, std::shared_ptr<const LeftOut>> known_;
};

void add_names(std::vector<std::string>& names, const DynamicTypeImpl& type, const LeftOut& left_out,
               const std::string& full_name) {
    const DynamicTypeImpl resolved = type.resolved();
    if (left_out.whole) return names.push_back(full_name);
    if (left_out.element)
        add_names(names, CollectionTypeImpl(resolved).content_type(), *left_out.element,
                  full_name + any_indices(resolved));
    for_each_member(resolved, [&](const std::string& name, const DynamicTypeImpl& member) {
        if (const LeftOut* const concerned = left_out.member(name))
            add_names(names, member, *concerned, joined(full_name, name));
    });
}

}  // namespace

const LeftOut* LeftOut::member(std::string_view name) const {
    const auto concerned = members.find(name);
    return concerned == members.end() ? nullptr : concerned->second.get();
}

bool is_blob(const DynamicTypeImpl& type) {
    const Part part(type);
    if (!part.is_collection()) return false;
    const TypeKind kind = element_of(part).type.kind();
    return kind == TypeKind::OCTET_TYPE || kind == TypeKind::UINT_8_TYPE;
}

std::shared_ptr<const LeftOut> blobs_of(const DynamicTypeImpl& type) {
    return BlobSearch().in(type);
}

std::vector<std::string> names_of(const DynamicTypeImpl& type, const LeftOut& left_out) {
    std::vector<std::string> names;
    add_names(names, type, left_out, "");
    return names;
}

const LeftOut* LeftOutFilter::member(const char* name) const {
    return places_.back() == nullptr ? nullptr : places_.back()->member(name);
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
