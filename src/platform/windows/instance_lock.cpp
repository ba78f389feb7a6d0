#include "platform/system/instance_lock.h"

#include <windows.h>

#include "platform/windows/wide_text.h"

namespace fenwright::platform {
namespace {

/// A named object of the user's session: it goes with the process that holds it, however that ends.
class NamedMutex final : public SingleInstance {
 public:
  explicit NamedMutex(const std::string& name) : name_(ToWide("Local\\" + name)) {}
  ~NamedMutex() override {
    if (handle_ != nullptr) CloseHandle(handle_);
  }
  NamedMutex(const NamedMutex&) = delete;
  NamedMutex& operator=(const NamedMutex&) = delete;

  bool Claim() override {
    if (handle_ != nullptr) return true;
    HANDLE const made = CreateMutexW(nullptr, FALSE, name_.c_str());
    // A run with higher rights keeps its mutex from this one.
    if (made == nullptr) return GetLastError() != ERROR_ACCESS_DENIED;
    if (GetLastError() == ERROR_ALREADY_EXISTS) {
      CloseHandle(made);
      return false;
    }
    handle_ = made;
    return true;
  }

 private:
  std::wstring name_;
  HANDLE handle_ = nullptr;
};

}  // namespace

std::unique_ptr<SingleInstance> MakeInstanceLock(const std::string& /*folder*/,
                                                 const std::string& name) {
  return std::make_unique<NamedMutex>(name);
}

}  // namespace fenwright::platform
