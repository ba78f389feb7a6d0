#include "platform/failure_cause.h"

#include <windows.h>

#include "platform/text_files_fixture.h"
#include "platform/windows/system_reason.h"

namespace fenwright::platform {
namespace {

TEST(FailureCauses, OfTheErrorsThatHappenAreKnown) {
  struct Row {
    DWORD Error;
    FailureCause Cause;
  };
  for (const Row& row :
       {Row{ERROR_DISK_FULL, FailureCause::DiscFull},
        Row{ERROR_HANDLE_DISK_FULL, FailureCause::DiscFull}, Row{1295, FailureCause::QuotaExceeded},
        Row{ERROR_ACCESS_DENIED, FailureCause::AccessDenied},
        Row{ERROR_WRITE_PROTECT, FailureCause::ReadOnlyDisc},
        Row{ERROR_FILE_NOT_FOUND, FailureCause::NotFound},
        Row{ERROR_PATH_NOT_FOUND, FailureCause::NotFound},
        Row{ERROR_FILE_EXISTS, FailureCause::Exists},
        Row{ERROR_FILENAME_EXCED_RANGE, FailureCause::NameTooLong},
        Row{ERROR_INVALID_NAME, FailureCause::NameInvalid},
        Row{ERROR_FILE_TOO_LARGE, FailureCause::FileTooLarge},
        Row{ERROR_TOO_MANY_OPEN_FILES, FailureCause::TooManyFiles},
        Row{ERROR_SHARING_VIOLATION, FailureCause::Busy}, Row{ERROR_CRC, FailureCause::DeviceError},
        Row{ERROR_NOT_READY, FailureCause::NoDevice},
        Row{ERROR_SEM_TIMEOUT, FailureCause::TimedOut},
        Row{ERROR_INVALID_FUNCTION, FailureCause::InvalidRequest},
        Row{ERROR_ARENA_TRASHED, FailureCause::Unknown}}) {
    EXPECT_EQ(CauseOf(row.Error), row.Cause) << row.Error;
  }
}

TEST_F(TheSystemsFiles, AFailureComesWithItsCause) {
  std::string content;
  EXPECT_EQ(files_.Read(Path("none"), content).Cause, FailureCause::NotFound);
  EXPECT_EQ(files_.Read(folder_.Path(), content).Cause, FailureCause::IsFolder);
  EXPECT_EQ(files_.Write("NUL", "x").Cause, FailureCause::NotRegular);
}

}  // namespace
}  // namespace fenwright::platform
