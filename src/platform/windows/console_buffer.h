#pragma once

#include <functional>
#include <streambuf>
#include <string>
#include <string_view>

namespace fenwright::platform {

/// A stream's way to a console, which shows UTF-16 whatever its code page is: takes UTF-8 in pieces
/// of any size and hands it on when the stream is flushed, or when much has come. A character whose
/// end has not come yet waits for it. Lines end in LF here and in CR LF there.
class ConsoleBuffer final : public std::streambuf {
 public:
  /// Shows a text; false when that cannot be.
  using Sink = std::function<bool(std::wstring_view text)>;

  explicit ConsoleBuffer(Sink sink);

 protected:
  int_type overflow(int_type byte) override;
  std::streamsize xsputn(const char* bytes, std::streamsize count) override;
  int sync() override;

 private:
  bool Take(std::string_view bytes);
  bool HandOn();

  Sink sink_;
  std::string waiting_;
};

}  // namespace fenwright::platform
