#include "platform/system/cp932_converter.h"

#include <windows.h>

namespace fenwright::platform {
namespace {

constexpr UINT kCp932 = 932;

/// One character in UTF-16: one unit, or two for what lies beyond U+FFFF.
struct WideCharacter {
  std::array<wchar_t, 2> Units{};
  int Size = 0;  ///< 0 when the bytes are no character
};

WideCharacter ToWideCharacter(UINT code_page, std::string_view character) {
  WideCharacter wide;
  wide.Size = MultiByteToWideChar(code_page, MB_ERR_INVALID_CHARS, character.data(),
                                  static_cast<int>(character.size()), wide.Units.data(),
                                  static_cast<int>(wide.Units.size()));
  return wide;
}

class WindowsCp932Converter final : public Cp932Converter {
 public:
  ConvertedCharacter ToCp932(std::string_view character) override {
    const WideCharacter wide = ToWideCharacter(CP_UTF8, character);
    ConvertedCharacter result;
    BOOL has_none = FALSE;
    const int size = WideCharToMultiByte(kCp932, WC_NO_BEST_FIT_CHARS, wide.Units.data(), wide.Size,
                                         result.Bytes.data(), static_cast<int>(result.Bytes.size()),
                                         nullptr, &has_none);
    if (wide.Size > 0 && size > 0 && has_none == FALSE) {
      result.Size = static_cast<std::size_t>(size);
    }
    return result;
  }

  ConvertedCharacter ToUtf8(std::string_view character) override {
    const WideCharacter wide = ToWideCharacter(kCp932, character);
    ConvertedCharacter result;
    // The system's table gives bytes that are no character to the private use area or to control
    // characters, and a lead byte with a wrong second one to two characters.
    if (wide.Size != 1 || !IsText(wide.Units[0])) return result;
    const int size =
        WideCharToMultiByte(CP_UTF8, 0, wide.Units.data(), wide.Size, result.Bytes.data(),
                            static_cast<int>(result.Bytes.size()), nullptr, nullptr);
    result.Size = static_cast<std::size_t>(size);
    return result;
  }

 private:
  static bool IsText(wchar_t unit) {
    const bool is_control = unit >= 0x80 && unit <= 0xA0;
    const bool is_stray_byte = unit >= 0xF8F0 && unit <= 0xF8F3;
    return !is_control && !is_stray_byte && unit != 0xFFFD;
  }
};

}  // namespace

std::unique_ptr<Cp932Converter> MakeCp932Converter() {
  return std::make_unique<WindowsCp932Converter>();
}

}  // namespace fenwright::platform
