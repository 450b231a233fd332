#pragma once

#include <filesystem>
#include <string>
#include <vector>

/// Checks documents against the schemas in Schemas/ with xmllint.
namespace SchemaCheck {

/// The reason why no check is possible here. Empty if it is possible.
const std::string& whyNot();

/// The messages of xmllint about the documents. `schema` is a file name such as "sku.xsd". Empty if all
/// documents are valid.
std::string mistakes(const std::string& schema, const std::vector<std::filesystem::path>& documents);
/// The same for a document's text.
std::string mistakesInText(const std::string& schema, const std::string& text);

} // namespace SchemaCheck
