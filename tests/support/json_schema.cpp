#include "support/json_schema.h"

#include <fstream>
#include <memory>
#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validation_results.hpp>
#include <valijson/validator.hpp>

namespace fenwright::testing {
namespace {

std::unique_ptr<valijson::Schema> ReadSchema(const std::string& path) {
  std::ifstream file(path);
  const nlohmann::json document = nlohmann::json::parse(file);
  auto schema = std::make_unique<valijson::Schema>();
  valijson::SchemaParser parser;
  parser.populateSchema(valijson::adapters::NlohmannJsonAdapter(document), *schema);
  return schema;
}

std::string FaultUnder(const valijson::Schema& schema, const nlohmann::json& object) {
  valijson::Validator validator;
  valijson::ValidationResults results;
  const valijson::adapters::NlohmannJsonAdapter target(object);
  if (validator.validate(schema, target, &results)) return "";
  std::string fault;
  valijson::ValidationResults::Error error;
  while (results.popError(error)) {
    for (const std::string& step : error.context) fault += step;
    fault += ": " + error.description + "\n";
  }
  return fault.empty() ? "does not validate" : fault;
}

}  // namespace

std::string SchemaFault(const nlohmann::json& object) {
  static const std::unique_ptr<valijson::Schema> kSchema = ReadSchema(FENWRIGHT_JSON_SCHEMA);
  return FaultUnder(*kSchema, object);
}

std::string SchemaFault(const nlohmann::json& object, const std::string& schema) {
  return FaultUnder(*ReadSchema(schema), object);
}

}  // namespace fenwright::testing
