#include "job/job_file.h"

#include <algorithm>
#include <array>
#include <set>
#include <utility>

#include <nlohmann/json.hpp>

#include "core/device_catalogue.h"

namespace fenwright::job {
namespace {

using nlohmann::json;
using nlohmann::ordered_json;

constexpr const char* kVersionKey = "fenwright_job";
constexpr int kVersion = 1;
constexpr std::array kLocks{"write-verify", "write", "none"};
constexpr const char* kDefaults = "defaults";

/// The keys of a job file, each with what it is read into.
class Reader {
 public:
  explicit Reader(JobText& result) : result_(result) {}

  void Read(const json& object) {
    ReadVersion(object);
    Job& job = result_.Job;
    Text(object, "device", job.Device);
    Text(object, "code", job.Code);
    ReadData(object);
    Flag(object, "keep_eeprom", job.KeepEeprom);
    ReadFuses(object);
    Flag(object, "allow_reset_disable", job.AllowResetDisable);
    Text(object, "lock", job.Lock);
    Form(object, "serial", job.Serial, ParseSerialNumber);
    Text(object, "counter", job.Counter);
    Form(object, "osccal", job.Osccal, ParseCalibration);
    Text(object, "backup", job.Backup);
    Text(object, "record", job.Record);
    RefuseOthers(object);
    Judge(object);
  }

 private:
  void Add(const std::string& key, const std::string& japanese, const std::string& english) {
    result_.Faults.push_back({.Key = key, .Text = {japanese, english}});
  }

  /// The value of a key that is there, null otherwise.
  const json* Find(const json& object, const char* key) {
    known_.insert(key);
    const auto found = object.find(key);
    return found == object.end() ? nullptr : &*found;
  }

  void Text(const json& object, const char* key, std::string& text) {
    const json* const value = Find(object, key);
    if (value == nullptr) return;
    if (value->is_string() && !value->get<std::string>().empty()) {
      text = value->get<std::string>();
    } else {
      Add(key, "空でない文字列を書きます", "has to be a text that is not empty");
    }
  }

  void Flag(const json& object, const char* key, bool& flag) {
    const json* const value = Find(object, key);
    if (value == nullptr) return;
    if (value->is_boolean()) {
      flag = value->get<bool>();
    } else {
      Add(key, "true か false を書きます", "has to be true or false");
    }
  }

  template <typename Value, typename Parse>
  void Form(const json& object, const char* key, std::optional<Value>& value, Parse parse) {
    std::string text;
    Text(object, key, text);
    if (text.empty()) return;
    core::Sentence error;
    value = parse(text, error);
    if (!value) Add(key, error.Japanese, error.English);
  }

  void ReadVersion(const json& object) {
    const json* const version = Find(object, kVersionKey);
    if (version == nullptr) {
      Add(kVersionKey, "ジョブファイルではありません。1 が必要です",
          "is missing, so that this is no job file; it has to be 1");
    } else if (*version != kVersion) {
      Add(kVersionKey, "このバージョンのジョブファイルは読めません。1 だけです",
          "is another version of the job file than 1");
    }
  }

  /// null stands for a blank EEPROM.
  void ReadData(const json& object) {
    const json* const data = Find(object, "data");
    result_.Job.NoData = data != nullptr && data->is_null();
    if (!result_.Job.NoData) Text(object, "data", result_.Job.Data);
  }

  /// An object of fields and items, in which "defaults": true may stand too.
  void ReadFuses(const json& object) {
    const json* const fuses = Find(object, "fuses");
    if (fuses == nullptr) return;
    if (!fuses->is_object()) {
      Add("fuses", "{\"項目\": \"値\"} の形で書きます",
          "has to be an object, {\"FIELD\": \"ITEM\"}");
      return;
    }
    for (const auto& [field, item] : fuses->items()) {
      if (IsLock(field)) {
        Add("fuses", "LOCK はキー lock に書きます", "LOCK has a key of its own, lock");
      } else if (field == kDefaults && item.is_boolean()) {
        result_.Job.FuseDefaults = item.get<bool>();
      } else if (item.is_string()) {
        result_.Job.Fuses[field] = item.get<std::string>();
      } else {
        Add("fuses", field + ": 値を文字列で書きます", field + ": the item has to be a text");
      }
    }
  }

  /// It comes last, whatever the fields say.
  static bool IsLock(std::string field) {
    for (char& letter : field) {
      if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    }
    return field == "lock";
  }

  void RefuseOthers(const json& object) {
    for (const auto& [key, value] : object.items()) {
      if (!known_.contains(key)) Add(key, "そのキーはありません", "there is no such key");
    }
  }

  /// What does not go together.
  void Judge(const json& object) {
    const Job& job = result_.Job;
    if (job.Device.empty() && !object.contains("device")) {
      Add("device", "必要です", "is missing");
    } else if (!job.Device.empty() && !IsDevice(job.Device)) {
      Add("device", "「" + job.Device + "」というデバイスはありません",
          "no device is called \"" + job.Device + "\"");
    }
    if (!object.contains("code")) Add("code", "必要です", "is missing");
    if (job.KeepEeprom && !job.Data.empty()) {
      Add("keep_eeprom", "data と一緒には指定できません", "does not go together with data");
    }
    if (!job.Lock.empty() && std::ranges::find(kLocks, job.Lock) == kLocks.end()) {
      Add("lock", "write-verify、write、none のどれかです",
          "has to be write-verify, write or none");
    }
    const bool counts = job.Serial && !job.Serial->Value;
    if (counts && job.Counter.empty()) {
      Add("counter", "番号を数えるファイルが必要です",
          "the file that counts the numbers is missing");
    }
    if (!counts && !job.Counter.empty() && result_.Faults.empty()) {
      Add("counter", "serial の番号が next のときだけ使います",
          "is for a serial number that is \"next\" alone");
    }
    JudgePlaces(job);
  }

  void JudgePlaces(const Job& job) {
    if (!job.Record.empty() && job.Record == job.Counter) {
      Add("record", "counter と同じファイルです", "is the file of the counter");
    }
    if (job.KeepEeprom && job.Osccal && !job.Osccal->Place.InFlash) RefuseEeprom("osccal");
    if (job.KeepEeprom && job.Serial && !job.Serial->Place.InFlash) RefuseEeprom("serial");
    if (!job.Serial || !job.Osccal) return;
    const ImagePlace& byte = job.Osccal->Place;
    const ImagePlace& number = job.Serial->Place;
    const bool meet = byte.InFlash == number.InFlash && byte.Address >= number.Address &&
                      byte.Address < number.Address + job.Serial->Width;
    if (meet) Add("osccal", "serial と同じ場所です", "is in the place of the serial number");
  }

  void RefuseEeprom(const char* key) {
    Add(key, "EEPROMを残すときは、flash に置きます",
        "has to be in the flash where the EEPROM keeps what it holds");
  }

  static bool IsDevice(const std::string& name) {
    return std::ranges::any_of(core::DeviceCatalogue(), [&name](const core::DeviceEntry& device) {
      return core::DeviceAlias(device.DisplayName) == name;
    });
  }

  JobText& result_;
  std::set<std::string> known_;
};

/// "line 3, column 7" of a byte of the text.
std::pair<std::size_t, std::size_t> PlaceOf(std::string_view text, std::size_t byte) {
  const std::string_view before = text.substr(0, byte == 0 ? 0 : byte - 1);
  const std::size_t start = before.rfind('\n');
  const auto line = static_cast<std::size_t>(std::ranges::count(before, '\n')) + 1;
  return {line, start == std::string_view::npos ? before.size() + 1 : before.size() - start};
}

std::string TextOf(const SerialNumber& serial) {
  return Describe(serial.Place) + "=" +
         (serial.Value ? std::to_string(*serial.Value) : std::string("next")) + ":" +
         std::to_string(serial.Width) + (serial.BigEndian ? ":big:" : ":little:") +
         std::to_string(serial.Step);
}

}  // namespace

JobText ReadJob(std::string_view text) {
  JobText result;
  // The keys of each object that is open; its own key is the last one of the object around it.
  std::vector<std::set<std::string>> keys;
  std::string outermost;
  const auto refuse_twice = [&](int depth, json::parse_event_t event, json& parsed) {
    if (event == json::parse_event_t::object_start) keys.emplace_back();
    if (event == json::parse_event_t::object_end) keys.pop_back();
    if (event != json::parse_event_t::key) return true;
    const auto key = parsed.get<std::string>();
    if (depth == 1) outermost = key;
    if (keys.back().insert(key).second) return true;
    const std::string inner = depth == 1 ? "" : key + ": ";
    result.Faults.push_back(
        {.Key = outermost, .Text = {inner + "二度あります", inner + "is there twice"}});
    return true;
  };
  json object;
  try {
    object = json::parse(text, refuse_twice);
  } catch (const json::parse_error& error) {
    const auto [line, column] = PlaceOf(text, error.byte);
    const std::string at = std::to_string(line);
    const std::string in = std::to_string(column);
    result.Faults.push_back({.Key = "",
                             .Text = {at + " 行 " + in + " 桁: JSON として読めません",
                                      "line " + at + ", column " + in + ": this is not JSON"}});
    return result;
  }
  if (!object.is_object()) {
    result.Faults.push_back(
        {.Key = "",
         .Text = {"JSON のオブジェクト {...} ではありません", "is no JSON object {...}"}});
    return result;
  }
  Reader(result).Read(object);
  return result;
}

std::string WriteJob(const Job& job) {
  ordered_json object{{kVersionKey, kVersion}, {"device", job.Device}, {"code", job.Code}};
  const auto put = [&object](const char* key, const std::string& text) {
    if (!text.empty()) object[key] = text;
  };
  put("data", job.Data);
  if (job.NoData) object["data"] = nullptr;
  if (job.KeepEeprom) object["keep_eeprom"] = true;
  if (job.FuseDefaults || !job.Fuses.empty()) {
    ordered_json fuses = ordered_json::object();
    if (job.FuseDefaults) fuses[kDefaults] = true;
    for (const auto& [field, item] : job.Fuses) fuses[field] = item;
    object["fuses"] = fuses;
  }
  if (job.AllowResetDisable) object["allow_reset_disable"] = true;
  put("lock", job.Lock);
  if (job.Serial) object["serial"] = TextOf(*job.Serial);
  put("counter", job.Counter);
  if (job.Osccal) {
    object["osccal"] = Describe(job.Osccal->Place) + "=" + std::to_string(job.Osccal->Index);
  }
  put("backup", job.Backup);
  put("record", job.Record);
  return object.dump(2, ' ', false, ordered_json::error_handler_t::replace) + "\n";
}

}  // namespace fenwright::job
