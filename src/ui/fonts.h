#pragma once

#include <QFont>

class QApplication;

namespace fenwright::ui {

/// Gives the application a font with Japanese letters: the first installed families of a fixed
/// list, 9 points.
void ApplyInterfaceFont(QApplication& application);

/// The font of the memory views. Half-width katakana and the half-width middle dot take one cell
/// of it, like a Latin letter, so that the columns of a dump stay in line.
QFont MonospacedFont();

/// The same with narrower cells, for the longer lines of the EEPROM view.
QFont NarrowMonospacedFont();

/// The font of the memory views in the size of the interface font, for texts among other controls.
QFont MonospacedInterfaceFont();

}  // namespace fenwright::ui
