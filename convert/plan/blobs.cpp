#include "convert/plan/blobs.hpp"

#include "convert/plan/type_walk.hpp"

namespace zun::convert {

using namespace core::xtypes;

namespace {

/// Finds the byte collections of a type; each distinct type in it is looked through once.
class BlobSearch {
public:
    std::shared_ptr<const cdr::Exclusions> in(const DynamicTypeImpl& declared) {
        const DynamicTypeImpl type = declared.resolved();
        const auto known = known_.find(type.node().get());
        if (known != known_.end()) return known->second;
        return known_[type.node().get()] = searched(type);
    }

private:
    std::shared_ptr<const cdr::Exclusions> searched(const DynamicTypeImpl& type) {
        cdr::Exclusions found;
        if (Part(type).is_collection()) found.element = in(CollectionTypeImpl(type).content_type());
        for_each_member(type, [&](const std::string& name, const DynamicTypeImpl& member) {
            if (auto concerned = is_blob(member) ? blob_ : in(member))
                found.members.emplace(name, std::move(concerned));
        });
        const bool any = found.element || !found.members.empty();
        return any ? std::make_shared<const cdr::Exclusions>(std::move(found)) : nullptr;
    }

    const std::shared_ptr<const cdr::Exclusions> blob_ =
        std::make_shared<const cdr::Exclusions>(cdr::Exclusions{.whole = true});
    std::map<const TypeNode*, std::shared_ptr<const cdr::Exclusions>> known_;
};

}  // namespace

bool is_blob(const DynamicTypeImpl& type) {
    const Part part(type);
    if (!part.is_collection()) return false;
    const TypeKind kind = element_of(part).type.kind();
    return kind == TypeKind::OCTET_TYPE || kind == TypeKind::UINT_8_TYPE;
}

std::shared_ptr<const cdr::Exclusions> blobs_of(const DynamicTypeImpl& type) {
    return BlobSearch().in(type);
}

}  // namespace zun::convert
