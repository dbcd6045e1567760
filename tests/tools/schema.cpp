// SPDX-License-Identifier: Apache-2.0
#include "schema.hpp"

#include "../support/bytes.hpp"
#include "../support/process.hpp"

#include <nlohmann/json.hpp>
#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validator.hpp>

#include <memory>

namespace test
{

using valijson::adapters::NlohmannJsonAdapter;

static std::unique_ptr<valijson::Schema> readSchema()
{
    const auto document = nlohmann::json::parse(bytesOf(
        fromEnvironment("WEXA_SOURCES") + "/docs/wexa-fwmgr.schema.json"));
    auto schema = std::make_unique<valijson::Schema>();
    valijson::SchemaParser(valijson::SchemaParser::kDraft7)
        .populateSchema(NlohmannJsonAdapter(document), *schema);
    return schema;
}

std::string violationsIn(const std::string& text)
{
    const auto value = nlohmann::json::parse(text, nullptr, false);
    if (value.is_discarded())
    {
        return "no JSON value";
    }
    static const auto schema = readSchema();
    valijson::ValidationResults results;
    valijson::Validator validator;
    if (validator.validate(*schema, NlohmannJsonAdapter(value), &results))
    {
        return "";
    }
    std::string violations;
    for (const auto& each : results)
    {
        for (const auto& where : each.context)
        {
            violations += where;
        }
        violations += ": " + each.description + "\n";
    }
    return violations;
}

} // namespace test
