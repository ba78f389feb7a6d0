#pragma once

#include <functional>
#include <string>
#include <vector>

#include <QImage>

namespace fenwright::pictures {

/// One picture: its file's name and how the program gets there.
struct Picture {
  std::string Name;
  std::function<QImage()> Take;
};

/// The main window in its sizes and states, and the insertion guide.
std::vector<Picture> WindowPictures();

/// Every dialog and box, alone.
std::vector<Picture> DialogPictures();

/// What is on the screen after each command, with each outcome that it can have.
std::vector<Picture> CommandPictures();

/// The frame of the fuse and lock lists, with each device.
std::vector<Picture> FusePictures();

/// Every picture that there is.
std::vector<Picture> AllPictures();

}  // namespace fenwright::pictures
