// The published schema of the job file and its description, compared with what reads job files.

#include <fstream>
#include <regex>

#include <nlohmann/json.hpp>

#include "core/device_catalogue.h"
#include "job/job_file.h"
#include "job/whole_job.h"
#include "support/json_schema.h"
#include "support/prelude.h"

namespace fenwright::job {
namespace {

using nlohmann::json;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr const char* kSchema = FENWRIGHT_DOCS "/fenwright-job.schema.json";

std::string TextOf(const std::string& path) {
  std::ifstream file(path);
  EXPECT_TRUE(file) << path;
  return {std::istreambuf_iterator<char>(file), {}};
}

std::set<std::string> KeysOf(const json& object) {
  std::set<std::string> keys;
  for (const auto& [key, value] : object.items()) keys.insert(key);
  return keys;
}

const json kMinimum{{"fenwright_job", 1}, {"device", "ATtiny12L"}, {"code", "a.hex"}};

/// The smallest job with more keys, which may stand in the place of its own.
json With(const char* more) {
  json object = kMinimum;
  object.update(json::parse(more));
  return object;
}

/// Two whole jobs, which have every key between them.
const std::array<Job, 2> kWhole{
    WholeJob(),
    Job{.Device = "AT90S1200A",
        .Code = "a.hex",
        .NoData = true,
        .KeepEeprom = true,
        .Serial = SerialNumber{.Place = {.InFlash = true, .Address = 8}, .Value = 7, .Width = 8}}};

TEST(JobSchema, AllowsWhatIsRead) {
  for (const char* more :
       {"{}", R"({"data": null})", R"({"data": "a.eep"})", R"({"keep_eeprom": false, "data": "x"})",
        R"({"keep_eeprom": true, "data": null})", R"({"fuses": {}})",
        R"({"fuses": {"defaults": true, "CKSEL": "00"}})", R"({"lock": "none"})",
        R"({"serial": "flash:0x3FC=next:4", "counter": "n.txt"})",
        R"({"serial": "eeprom:16=0xFFFF:2:big:10"})", R"({"serial": "flash:0=7:0x4:little:0x10"})",
        R"({"osccal": "eeprom:0x00"})", R"({"osccal": "flash:12=3", "keep_eeprom": true})",
        R"({"backup": ".", "record": "a.csv", "allow_reset_disable": false})"}) {
    EXPECT_THAT(ReadJob(With(more).dump()).Faults, IsEmpty()) << more;
    EXPECT_EQ(testing::SchemaFault(With(more), kSchema), "") << more;
  }
}

TEST(JobSchema, RefusesWhatIsRefused) {
  for (const char* more : {R"({"fenwright_job": 2})",
                           R"({"fenwright_job": "1"})",
                           R"({"device": "ATtiny"})",
                           R"({"device": "attiny12l"})",
                           R"({"device": ""})",
                           R"({"code": ""})",
                           R"({"code": 1})",
                           R"({"code": null})",
                           R"({"data": ""})",
                           R"({"data": 3})",
                           R"({"keep_eeprom": "yes"})",
                           R"({"keep_eeprom": true, "data": "a.eep"})",
                           R"({"fuses": "CKSEL=00"})",
                           R"({"fuses": {"CKSEL": 0}})",
                           R"({"fuses": {"CKSEL": true}})",
                           R"({"fuses": {"LOCK": "write"}})",
                           R"({"fuses": {"lock": "write"}})",
                           R"({"allow_reset_disable": 1})",
                           R"({"lock": "all"})",
                           R"({"lock": ""})",
                           R"({"serial": "flash:0=next"})",
                           R"({"serial": "flash:0=7", "counter": "n.txt"})",
                           R"({"counter": "n.txt"})",
                           R"({"serial": "ram:0=7"})",
                           R"({"serial": "flash:0"})",
                           R"({"serial": "flash:0=nxt", "counter": "n.txt"})",
                           R"({"serial": "flash:0=7:9"})",
                           R"({"serial": "flash:0=7:4:middle"})",
                           R"({"serial": 7})",
                           R"({"keep_eeprom": true, "serial": "eeprom:0=7"})",
                           R"({"osccal": "0x10"})",
                           R"({"osccal": "flash:0=4"})",
                           R"({"keep_eeprom": true, "osccal": "eeprom:0"})",
                           R"({"backup": ""})",
                           R"({"record": {}})",
                           R"({"fuse": {}})",
                           R"({"Device": "x"})"}) {
    EXPECT_THAT(ReadJob(With(more).dump()).Faults, Not(IsEmpty())) << more;
    EXPECT_NE(testing::SchemaFault(With(more), kSchema), "") << more;
  }
  for (const auto& [key, value] : kMinimum.items()) {
    json object = kMinimum;
    object.erase(key);
    EXPECT_THAT(ReadJob(object.dump()).Faults, Not(IsEmpty())) << key;
    EXPECT_NE(testing::SchemaFault(object, kSchema), "") << key;
  }
  EXPECT_NE(testing::SchemaFault(json::array(), kSchema), "");
}

TEST(JobSchema, HasTheKeysThatAreWritten) {
  const json schema = json::parse(TextOf(kSchema));
  std::set<std::string> written;
  for (const Job& job : kWhole) {
    const json object = json::parse(WriteJob(job));
    EXPECT_EQ(ReadJob(object.dump()).Job, job) << object;
    EXPECT_EQ(testing::SchemaFault(object, kSchema), "") << object;
    written.merge(KeysOf(object));
  }
  EXPECT_EQ(KeysOf(schema["properties"]), written);
}

TEST(JobSchema, HasTheKeysThatAreRead) {
  for (const std::string& key : KeysOf(json::parse(TextOf(kSchema))["properties"])) {
    // A number is what no key but the version takes; a key that is not known is another fault.
    json object = kMinimum;
    object[key] = 1;
    for (const Fault& fault : ReadJob(object.dump()).Faults) {
      EXPECT_EQ(fault.Text.English.find("no such key"), std::string::npos) << key;
    }
  }
}

TEST(JobSchema, HasEveryKeyThatTheReaderAsksFor) {
  const std::string source = TextOf(FENWRIGHT_SOURCES "/job/job_file.cpp");
  const std::regex asked(R"re((?:Text|Flag|Form|Find)\(object, "(\w+)")re");
  std::set<std::string> keys{"fenwright_job"};
  for (std::sregex_iterator found(source.begin(), source.end(), asked), end; found != end;
       ++found) {
    keys.insert((*found)[1]);
  }
  EXPECT_EQ(keys, KeysOf(json::parse(TextOf(kSchema))["properties"]));
}

TEST(JobSchema, HasEveryDevice) {
  const json schema = json::parse(TextOf(kSchema));
  const json& names = schema["properties"]["device"]["enum"];
  EXPECT_EQ(names.size(), core::DeviceCatalogue().size());
  for (const core::DeviceEntry& device : core::DeviceCatalogue()) {
    EXPECT_THAT(names, Contains(core::DeviceAlias(device.DisplayName)));
  }
}

TEST(JobDescription, HasEveryKeyAndNoOther) {
  const std::string text = TextOf(FENWRIGHT_DOCS "/job.md");
  std::set<std::string> described;
  std::istringstream lines(text.substr(text.find("## Keys"), text.find("## Order")));
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("## Order")) break;
    if (line.starts_with("| `")) described.insert(line.substr(3, line.find('`', 3) - 3));
  }
  EXPECT_EQ(described, KeysOf(json::parse(TextOf(kSchema))["properties"]));
}

/// The object of the description's first block of code.
TEST(JobDescription, ItsExampleIsAJob) {
  const std::string text = TextOf(FENWRIGHT_DOCS "/job.md");
  const std::size_t start = text.find("```json\n") + 8;
  const std::string example = text.substr(start, text.find("```", start) - start);
  EXPECT_THAT(ReadJob(example).Faults, IsEmpty()) << example;
  EXPECT_EQ(testing::SchemaFault(json::parse(example), kSchema), "");
}

}  // namespace
}  // namespace fenwright::job
