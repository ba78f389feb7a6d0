#include "job/job_file.h"

#include "core/device_catalogue.h"
#include "job/whole_job.h"
#include "support/prelude.h"

namespace fenwright::job {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// "KEY: what is wrong with it", one a fault.
std::vector<std::string> FaultsOf(const std::string& text) {
  std::vector<std::string> faults;
  for (const Fault& fault : ReadJob(text).Faults) {
    EXPECT_FALSE(fault.Text.Japanese.empty());
    faults.push_back(fault.Key + ": " + fault.Text.English);
  }
  return faults;
}

/// A job that is right but for what is added.
std::string With(const std::string& more) {
  return R"({"fenwright_job": 1, "device": "ATtiny12L", "code": "a.hex", )" + more + "}";
}

TEST(JobFile, WhatIsWrittenIsReadAgain) {
  const JobText read = ReadJob(WriteJob(WholeJob()));
  EXPECT_THAT(FaultsOf(WriteJob(WholeJob())), IsEmpty());
  EXPECT_EQ(read.Job, WholeJob()) << WriteJob(WholeJob());
}

TEST(JobFile, NeedsVersionDeviceAndCodeAlone) {
  EXPECT_THAT(FaultsOf(R"({"fenwright_job": 1, "device": "ATtiny12L", "code": "a.hex"})"),
              IsEmpty());
  EXPECT_THAT(FaultsOf("{}"),
              ElementsAre("fenwright_job: is missing, so that this is no job file; it has to be 1",
                          "device: is missing", "code: is missing"));
  EXPECT_THAT(FaultsOf(R"({"fenwright_job": 2, "device": "ATtiny12L", "code": "a.hex"})"),
              ElementsAre("fenwright_job: is another version of the job file than 1"));
}

TEST(JobFile, EveryDeviceHasItsName) {
  for (const core::DeviceEntry& device : core::DeviceCatalogue()) {
    Job job = WholeJob();
    job.Device = core::DeviceAlias(device.DisplayName);
    EXPECT_THAT(FaultsOf(WriteJob(job)), IsEmpty()) << job.Device;
  }
  EXPECT_THAT(FaultsOf(R"({"fenwright_job": 1, "device": "ATtiny", "code": "a.hex"})"),
              ElementsAre("device: no device is called \"ATtiny\""));
}

TEST(JobFile, AMistypedKeyIsNotPassedOver) {
  EXPECT_THAT(FaultsOf(With(R"("fuse": {"CKSEL": "00"})")),
              ElementsAre("fuse: there is no such key"));
}

TEST(JobFile, AKeyThatIsThereTwiceIsRefused) {
  EXPECT_THAT(FaultsOf(With(R"("code": "b.hex")")), ElementsAre("code: is there twice"));
  EXPECT_THAT(FaultsOf(With(R"("fuses": {"BODLEVEL": "2.7V", "BODLEVEL": "1.8V"})")),
              ElementsAre("fuses: BODLEVEL: is there twice"));
  EXPECT_THAT(FaultsOf(With(R"("fuses": {"BODLEVEL": "2.7V", "CKSEL": "00"})")), ElementsAre());
}

TEST(JobFile, SaysWhereItIsNoJson) {
  EXPECT_THAT(FaultsOf("{\n  \"device\": \"ATtiny12L\",\n  oops\n}"),
              ElementsAre(": line 3, column 3: this is not JSON"));
  EXPECT_THAT(FaultsOf(""), ElementsAre(": line 1, column 1: this is not JSON"));
  EXPECT_THAT(FaultsOf("[1]"), ElementsAre(": is no JSON object {...}"));
}

TEST(JobFile, AValueOfAnotherKindIsRefused) {
  for (const char* value :
       {R"("backup": 1)", R"("backup": "")", R"("keep_eeprom": "yes")", R"("fuses": "CKSEL=00")",
        R"("fuses": {"CKSEL": 0})", R"("lock": "all")", R"("data": 3)", R"("record": {})"}) {
    const std::string key = std::string(value).substr(1, std::string(value).find('"', 1) - 1);
    const auto faults = FaultsOf(With(value));
    ASSERT_EQ(faults.size(), 1U) << value;
    EXPECT_TRUE(faults[0].starts_with(key + ": ")) << faults[0];
  }
}

TEST(JobFile, NullAsDataLeavesTheEepromBlank) {
  EXPECT_TRUE(ReadJob(With(R"("data": null)")).Job.NoData);
  EXPECT_FALSE(ReadJob(With(R"("keep_eeprom": false)")).Job.NoData);
}

TEST(JobFile, WhatDoesNotGoTogetherIsRefused) {
  EXPECT_THAT(FaultsOf(With(R"("keep_eeprom": true, "data": "a.eep")")),
              ElementsAre("keep_eeprom: does not go together with data"));
  EXPECT_THAT(FaultsOf(With(R"("serial": "flash:0=next")")),
              ElementsAre("counter: the file that counts the numbers is missing"));
  EXPECT_THAT(FaultsOf(With(R"("serial": "flash:0=next", "counter": "n.txt", "record": "n.txt")")),
              ElementsAre("record: is the file of the counter"));
  EXPECT_THAT(FaultsOf(With(R"("serial": "flash:0=7", "counter": "n.txt")")),
              ElementsAre("counter: is for a serial number that is \"next\" alone"));
  EXPECT_THAT(FaultsOf(With(R"("serial": "flash:0=7", "osccal": "flash:3")")),
              ElementsAre("osccal: is in the place of the serial number"));
  EXPECT_THAT(FaultsOf(With(R"("serial": "flash:0=7", "osccal": "flash:4")")), IsEmpty());
  for (const char* key : {"serial", "osccal"}) {
    const std::string value = key == std::string("serial") ? "eeprom:0=7" : "eeprom:0";
    EXPECT_THAT(
        FaultsOf(With("\"keep_eeprom\": true, \"" + std::string(key) + "\": \"" + value + "\"")),
        ElementsAre(std::string(key) +
                    ": has to be in the flash where the EEPROM keeps what it holds"));
  }
}

}  // namespace
}  // namespace fenwright::job
