#pragma once

#include <string>

#include <nlohmann/json.hpp>

namespace fenwright::testing {

/// Where an object is not as docs/fenwright-cli.schema.json says, and why; "" when it is.
std::string SchemaFault(const nlohmann::json& object);

/// The same for the schema in a file.
std::string SchemaFault(const nlohmann::json& object, const std::string& schema);

}  // namespace fenwright::testing
