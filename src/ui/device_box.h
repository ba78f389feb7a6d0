#pragma once

#include <QFrame>

#include "screen/device_form.h"

class QComboBox;
class QLabel;
class QMenu;
class QToolButton;

namespace fenwright::ui {

/// The box with the device selector and, once a device was picked, the sizes of its memories.
class DeviceBox final : public QFrame, public screen::DeviceForm {
  Q_OBJECT

 public:
  DeviceBox();

  void SetDevices(const std::vector<std::string>& display_names) override;
  [[nodiscard]] std::string DeviceText() const override;
  [[nodiscard]] int DeviceIndex() const override;
  void SetDeviceIndex(int index) override;
  void SetMemoryLabels(std::string_view flash, std::string_view eeprom) override;
  void ShowDeviceFrame() override;

  [[nodiscard]] QComboBox* Selector() const { return selector_; }
  [[nodiscard]] QToolButton* SocketButton() const { return socket_; }
  [[nodiscard]] QToolButton* JobButton() const { return job_; }

  /// The menu with the offered devices. While it is open it stands in the accessibility tree below
  /// this box, where the toolkit leaves out a menu that no menu bar has.
  [[nodiscard]] QMenu* Offer() const { return offer_; }

  /// Offers devices of the selector in a menu at the button, by their places; a pick is reported by
  /// SocketDevicePicked(). The one that is selected already is shown as that.
  void OfferDevices(const std::vector<int>& indexes);

 signals:
  /// The user has picked a device, even the one that was chosen already.
  void Picked();
  /// The user asks what is in the socket.
  void SocketAsked();
  /// The user asks for the job box.
  void JobAsked();
  /// The user has picked a device that was offered.
  void SocketDevicePicked(int);

 private:
  QComboBox* selector_;
  QToolButton* socket_;
  QToolButton* job_;
  QMenu* offer_;
  QFrame* frame_;
  QLabel* flash_size_;
  QLabel* eeprom_size_;
};

}  // namespace fenwright::ui
