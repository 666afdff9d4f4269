#include "schemas.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validator.hpp>

namespace schemas {

namespace {

using Json = nlohmann::json;
using Adapter = valijson::adapters::NlohmannJsonAdapter;

constexpr const char* folder = M2M_SCHEMA_DIR;
constexpr const char* common = "common.json";  // definitions for the others, no datagram

// A schema that cannot be loaded is a fault of the tests' own: it throws, and the test that asked fails.
Json load(const std::string& file) {
    const std::string path = std::string(folder) + "/" + file;
    std::ifstream in(path);
    if (!in) throw std::runtime_error("cannot read " + path);
    return Json::parse(in);
}

// Parsed once; the reference stays valid. Tests ask from several threads.
const valijson::Schema& schema(const std::string& name) {
    static std::mutex guard;
    static std::map<std::string, std::unique_ptr<valijson::Schema>> parsed;
    const std::lock_guard lock(guard);
    auto& entry = parsed[name];
    if (!entry) {
        const Json document = load(name + ".json");
        auto fresh = std::make_unique<valijson::Schema>();
        valijson::SchemaParser parser(valijson::SchemaParser::kDraft7);
        // The parser takes and gives back referenced documents as plain pointers.
        parser.populateSchema(
            Adapter(document), *fresh,
            [](const std::string& uri) -> const Json* { return std::make_unique<Json>(load(uri)).release(); },
            [](const Json* fetched) { const std::unique_ptr<const Json> end(fetched); });
        entry = std::move(fresh);
    }
    return *entry;
}

Errors check(const Json& datagram, const std::string& name) {
    valijson::Validator validator;
    valijson::ValidationResults results;
    Errors errors;
    if (validator.validate(schema(name), Adapter(datagram), &results)) return errors;
    for (const auto& result : results) {
        std::string line = name + ": ";
        for (const std::string& step : result.context) line += step;
        errors.push_back(line.append(": ").append(result.description));
    }
    return errors;
}

std::string text_of(const Json& datagram, const char* key) {
    const auto found = datagram.find(key);
    return found != datagram.end() && found->is_string() ? found->get<std::string>() : std::string();
}

}  // namespace

Errors validate(std::string_view text, const std::string& name) {
    const Json datagram = Json::parse(text, nullptr, false);
    if (datagram.is_discarded()) return {name + ": not JSON"};
    return check(datagram, name);
}

Errors validate(std::string_view text) {
    const Json datagram = Json::parse(text, nullptr, false);
    if (!datagram.is_object()) return {"not a JSON object"};
    const std::string type = text_of(datagram, "type");
    const std::string name = text_of(datagram, "function") + "-" + type;
    const std::vector<std::string> known = names();
    const bool hasSchema = std::find(known.begin(), known.end(), name) != known.end();
    Errors errors = hasSchema ? check(datagram, name) : Errors{name + ": no such datagram"};
    const bool errorReply = !errors.empty() && type == "response" && check(datagram, "error-response").empty();
    return errorReply ? Errors{} : errors;
}

std::vector<std::string> names() {
    std::vector<std::string> found;
    for (const auto& file : std::filesystem::directory_iterator(folder)) {
        const auto& path = file.path();
        if (path.extension() == ".json" && path.filename() != common) found.push_back(path.stem());
    }
    std::sort(found.begin(), found.end());
    return found;
}

}  // namespace schemas
