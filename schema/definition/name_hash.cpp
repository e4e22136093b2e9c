#include "schema/definition/name_hash.hpp"

#include <array>

#include <md5.h>

namespace zun::schema {

std::uint32_t name_hash(const std::string& name) {
    MD5_CTX context;
    std::array<std::uint8_t, MD5_DIGEST_LENGTH> digest{};
    MD5Init(&context);
    MD5Update(&context, reinterpret_cast<const std::uint8_t*>(name.data()), name.size());
    MD5Final(digest.data(), &context);
    std::uint32_t hash = 0;
    for (std::size_t i = 4; i-- > 0;)
        hash = hash << 8 | digest[i];
    return hash & 0x0fffffff;
}

}  // namespace zun::schema
