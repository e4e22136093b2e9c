// SharedText: a text of which copies are references, since thousands of channels may have the same.

#ifndef ZUN_INPUT_SHARED_TEXT_HPP
#define ZUN_INPUT_SHARED_TEXT_HPP

#include <memory>
#include <string>
#include <utility>

namespace zun::input {

class SharedText {
public:
    SharedText() : SharedText(std::string()) {}
    SharedText(std::string text) : text_(std::make_shared<const std::string>(std::move(text))) {}
    SharedText(const char* text) : SharedText(std::string(text)) {}

    const std::string& str() const { return *text_; }
    operator const std::string&() const { return *text_; }
    bool operator==(const SharedText& other) const { return text_ == other.text_ || *text_ == *other.text_; }

private:
    std::shared_ptr<const std::string> text_;  // never null
};

}  // namespace zun::input

#endif
