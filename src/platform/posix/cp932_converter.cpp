#include "platform/system/cp932_converter.h"

#include <cstdint>
#include <iconv.h>

namespace fenwright::platform {
namespace {

/// An iconv converter. When the system has none, nothing has a counterpart.
class Iconv {
 public:
  Iconv(const char* to, const char* from) : converter_(iconv_open(to, from)) {}
  ~Iconv() {
    if (IsOpen()) iconv_close(converter_);
  }
  Iconv(const Iconv&) = delete;
  Iconv& operator=(const Iconv&) = delete;

  ConvertedCharacter Convert(std::string_view character) {
    ConvertedCharacter result;
    if (!IsOpen()) return result;
    std::array<char, 4> source{};
    character.copy(source.data(), source.size());
    char* in = source.data();
    std::size_t in_left = character.size();
    char* out = result.Bytes.data();
    std::size_t out_left = result.Bytes.size();
    iconv(converter_, nullptr, nullptr, nullptr, nullptr);
    if (iconv(converter_, &in, &in_left, &out, &out_left) == 0 && in_left == 0) {
      result.Size = result.Bytes.size() - out_left;
    }
    return result;
  }

 private:
  /// iconv reports a failure as the pointer value -1.
  [[nodiscard]] bool IsOpen() const { return reinterpret_cast<std::intptr_t>(converter_) != -1; }

  iconv_t converter_;
};

class IconvCp932Converter final : public Cp932Converter {
 public:
  ConvertedCharacter ToCp932(std::string_view character) override {
    return to_cp932_.Convert(character);
  }
  ConvertedCharacter ToUtf8(std::string_view character) override {
    return from_cp932_.Convert(character);
  }

 private:
  Iconv to_cp932_{"CP932", "UTF-8"};
  Iconv from_cp932_{"UTF-8", "CP932"};
};

}  // namespace

std::unique_ptr<Cp932Converter> MakeCp932Converter() {
  return std::make_unique<IconvCp932Converter>();
}

}  // namespace fenwright::platform
