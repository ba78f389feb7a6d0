#include <shobjidl.h>
#include <windows.h>

#include <QWidget>

#include "ui/taskbar.h"

namespace fenwright::ui {
namespace {

constexpr int kAll = 100;

/// The taskbar of Windows 7 and later. Qt has initialised COM for the thread of the windows.
class WindowsTaskbar final : public Taskbar {
 public:
  explicit WindowsTaskbar(QWidget& window) : window_(window) {}
  ~WindowsTaskbar() override {
    if (list_) list_->Release();
  }
  WindowsTaskbar(const WindowsTaskbar&) = delete;
  WindowsTaskbar& operator=(const WindowsTaskbar&) = delete;

  void ShowProgress(int percent) override {
    ITaskbarList3* const list = List();
    if (!list) return;
    list->SetProgressState(Handle(), TBPF_NORMAL);
    list->SetProgressValue(Handle(), static_cast<ULONGLONG>(percent), kAll);
  }

  void ShowFailure() override {
    ITaskbarList3* const list = List();
    if (!list) return;
    list->SetProgressState(Handle(), TBPF_ERROR);
    list->SetProgressValue(Handle(), kAll, kAll);
  }

  void Clear() override {
    if (list_) list_->SetProgressState(Handle(), TBPF_NOPROGRESS);
  }

 private:
  [[nodiscard]] HWND Handle() const { return reinterpret_cast<HWND>(window_.winId()); }

  /// Null where there is no taskbar.
  ITaskbarList3* List() {
    if (list_ || asked_) return list_;
    asked_ = true;
    if (FAILED(CoCreateInstance(CLSID_TaskbarList, nullptr, CLSCTX_INPROC_SERVER,
                                IID_PPV_ARGS(&list_)))) {
      list_ = nullptr;
    } else if (FAILED(list_->HrInit())) {
      list_->Release();
      list_ = nullptr;
    }
    return list_;
  }

  QWidget& window_;
  ITaskbarList3* list_ = nullptr;
  bool asked_ = false;
};

}  // namespace

std::unique_ptr<Taskbar> MakeTaskbar(QWidget& window) {
  return std::make_unique<WindowsTaskbar>(window);
}

}  // namespace fenwright::ui
