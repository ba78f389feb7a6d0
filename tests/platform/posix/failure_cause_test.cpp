#include "platform/failure_cause.h"

#include <cerrno>
#include <map>

#include <gtest/gtest.h>

#include "platform/posix/port_failure.h"
#include "platform/posix/system_reason.h"
#include "platform/text_files_fixture.h"

namespace fenwright::platform {
namespace {

TEST(FailureCauses, OfTheErrorsThatHappenAreKnown) {
  const std::map<int, FailureCause> causes{{ENOSPC, FailureCause::DiscFull},
                                           {EDQUOT, FailureCause::QuotaExceeded},
                                           {EACCES, FailureCause::AccessDenied},
                                           {EPERM, FailureCause::NotPermitted},
                                           {EROFS, FailureCause::ReadOnlyDisc},
                                           {ENOENT, FailureCause::NotFound},
                                           {EISDIR, FailureCause::IsFolder},
                                           {ENOTDIR, FailureCause::NoFolder},
                                           {ELOOP, FailureCause::TooManyLinks},
                                           {EEXIST, FailureCause::Exists},
                                           {ENAMETOOLONG, FailureCause::NameTooLong},
                                           {EILSEQ, FailureCause::NameInvalid},
                                           {EFBIG, FailureCause::FileTooLarge},
                                           {EMFILE, FailureCause::TooManyFiles},
                                           {ENFILE, FailureCause::TooManyFiles},
                                           {EBUSY, FailureCause::Busy},
                                           {EAGAIN, FailureCause::Busy},
                                           {ETXTBSY, FailureCause::RunningProgram},
                                           {ENOMEM, FailureCause::OutOfMemory},
                                           {EIO, FailureCause::DeviceError},
                                           {ENODEV, FailureCause::NoDevice},
                                           {ENXIO, FailureCause::NoDevice},
                                           {ENOTTY, FailureCause::NotTerminal},
                                           {EXDEV, FailureCause::OtherDisc},
                                           {ETIMEDOUT, FailureCause::TimedOut},
                                           {EINVAL, FailureCause::InvalidRequest},
                                           {EOWNERDEAD, FailureCause::Unknown}};
  for (const auto& [error, cause] : causes) EXPECT_EQ(CauseOf(error), cause) << error;
}

TEST(FailureCauses, OfAPortThatDoesNotOpenAreInJapaneseToo) {
  EXPECT_EQ(DescribePortFailure("/dev/x", EMFILE).Reason,
            "デバイス /dev/x を開けませんでした。開いているファイルが多すぎます。 "
            "(Too many open files)");
  EXPECT_EQ(DescribePortFailure("/dev/x", EOWNERDEAD).Reason,
            "デバイス /dev/x を開けませんでした。 (Owner died)");
}

TEST_F(TheSystemsFiles, AFailureComesWithItsCause) {
  std::string content;
  EXPECT_EQ(files_.Read(Path("none"), content).Cause, FailureCause::NotFound);
  EXPECT_EQ(files_.Read(folder_.Path(), content).Cause, FailureCause::IsFolder);
  Make(Path(), "x");
  EXPECT_EQ(files_.Write(Path("file/x"), "x").Cause, FailureCause::NoFolder);
  std::filesystem::create_symlink("file", Path("link"));
  EXPECT_EQ(files_.Write(Path("link"), "x").Cause, FailureCause::IsLink);
  EXPECT_EQ(files_.Write("/dev/null", "x").Cause, FailureCause::NotRegular);
  EXPECT_EQ(files_.Write("/dev/full", "x").Cause, FailureCause::NotRegular);
  EXPECT_EQ(files_.Read(Path(), content).Cause, FailureCause::Unknown) << "nothing failed";
}

}  // namespace
}  // namespace fenwright::platform
