#pragma once

#include <filesystem>
#include <string>
#include <vector>

/// Documents against the schemas of Schemas/, by means of xmllint.
namespace SchemaCheck {

/// Why nothing can be checked here; empty when it can.
const std::string& whyNot();

/// What xmllint has against the documents, by the schema of that file name ("sku.xsd"); empty when all of
/// them are valid.
std::string mistakes(const std::string& schema, const std::vector<std::filesystem::path>& documents);
/// The same for a document's text.
std::string mistakesInText(const std::string& schema, const std::string& text);

} // namespace SchemaCheck
