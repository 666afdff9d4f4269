#include "model/m2mrendering.h"

#include <cstdlib>
#include <string_view>

#include "cbase/jsontext.h"
#include "cbase/logging.h"
#include "cbase/result.h"
#include "cbase/tokenize.h"
#include "libenvdb/query.h"
#include "model/m2mkovadobject.h"
#include "model/recordcache.h"

std::unique_ptr<M2MRendering::Cache> M2MRendering::cachedRenderingList = std::make_unique<Cache>();

namespace {

template <class T>
std::unique_ptr<T> copy_of(const std::unique_ptr<T>& other) {
    return other ? std::make_unique<T>(*other) : nullptr;
}

float float_in(const libenvdb::AssociativeArray<char*>& row, const char* column) {
    return std::strtof(libenvdb::text_in(row, column).c_str(), nullptr);
}

std::string without_quotes(std::string_view label) {
    if (!label.empty() && label.front() == '"') label.remove_prefix(1);
    if (!label.empty() && label.back() == '"') label.remove_suffix(1);
    return std::string(label);
}

// Adds value and label of an entry value=>"label"; any other number of parts than two makes it no entry.
void add_label(M2MRendering::Labels& labels, const std::string& entry) {
    constexpr std::string_view arrow = "=>";
    const std::size_t at = entry.find(arrow);
    if (at == std::string::npos || at == 0) return;
    const std::string_view label = std::string_view(entry).substr(at + arrow.size());
    if (label.empty() || label.find(arrow) != std::string_view::npos) return;
    labels[entry.substr(0, at)] = without_quotes(label);
}

}  // namespace

M2MRendering::M2MRendering(long id) {
    readFromDB(id);
}

M2MRendering::M2MRendering(long id, std::string name, renderingMode mode, const Labels& labels,
                           const std::vector<std::string>& actions)
    : id_(id), name_(std::move(name)), mode_(mode) {
    setOptionLabels(labels);
    setActionList(actions);
}

M2MRendering::M2MRendering(long id, std::string name, renderingMode mode, float min, float max, float step,
                           const std::string& labels, const std::string& actions)
    : id_(id), name_(std::move(name)), mode_(mode), min_(min), max_(max), step_(step) {
    setOptionLabels(labels);
    setActionList(actions);
}

void M2MRendering::copyAllAttributes(const M2MRendering* other) {
    if (other == nullptr) return;
    id_ = other->id_;
    name_ = other->name_;
    mode_ = other->mode_;
    min_ = other->min_;
    max_ = other->max_;
    step_ = other->step_;
    optionLabels_ = copy_of(other->optionLabels_);
    actionList_ = copy_of(other->actionList_);
}

std::shared_ptr<M2MRendering> M2MRendering::getNewRendering(long id) {
    return cached_or_read(cachedRenderingList.get(), id);
}

void M2MRendering::deleteCache() {
    cachedRenderingList.reset();
}

int M2MRendering::readFromDB(long id) {
    // The database turns the labels' commas into "|", since rows travel split at commas. The texts name other units, as
    // they always did.
    const auto answer = libenvdb::query(
        "SELECT O.ID AS ID, O.NAME AS NAME, O.HAS_OPTIONS AS MODE, O.MIN_STATE AS MIN, O.MAX_STATE AS MAX, "
        "O.STEP_STATE AS STEP, O.NAME AS NAME, replace( O.OPTION_LABELS, \",\", \"|\") AS OPTION_LABELS FROM "
        "KOVAD_RENDERING AS O WHERE O.ID=" +
            libenvdb::quoted(id) + ";",
        {"m2mclientbrowser->readFromDB", "m2mremotableobject->readFromDB", ""});
    if (!answer) return result::dbRequestFailed;
    const auto* row = libenvdb::first_row(*answer);
    if (row == nullptr) {
        error("m2mremotableobject->readFromDB error retrieving information from DB");
        return result::nothingDone;
    }
    if (!libenvdb::has_value(*row, "ID")) {
        error("m2mremotableobject->readFromDB error retrieving information of the sql result");
        return result::nothingDone;
    }
    setID(libenvdb::number_in(*row, "ID"));
    setName(libenvdb::text_in(*row, "NAME"));
    setMode(libenvdb::number_in(*row, "MODE") != 0 ? renderingMode::options : renderingMode::range);
    setMin(float_in(*row, "MIN"));
    setMax(float_in(*row, "MAX"));
    setStep(float_in(*row, "STEP"));
    setOptionLabels(libenvdb::text_in(*row, "OPTION_LABELS"));
    if (cachedRenderingList) cachedRenderingList->emplace(id_, std::make_shared<M2MRendering>(this));
    return result::ok;
}

void M2MRendering::setOptionLabels(const Labels& labels) {
    optionLabels_ = std::make_unique<Labels>(labels);
}

void M2MRendering::setOptionLabels(const std::string& text) {
    if (is_unset(text)) return;
    optionLabels_ = std::make_unique<Labels>();
    std::vector<std::string> entries;
    tokenize(text, entries, "|");
    for (const std::string& entry : entries) add_label(*optionLabels_, entry);
}

void M2MRendering::setActionList(const std::vector<std::string>& actions) {
    actionList_ = std::make_unique<std::vector<std::string>>(actions);
}

void M2MRendering::setActionList(const std::string& text) {
    actionList_ = std::make_unique<std::vector<std::string>>();
    tokenize(text, *actionList_, "|");
}

json_t* M2MRendering::encodeJSON() const {
    constexpr const char* unit = "m2mrendering->encodeJSON";
    Json object(json_object());
    add_member(object.get(), "min", json_real(min_), unit);
    add_member(object.get(), "max", json_real(max_), unit);
    add_member(object.get(), "step", json_real(step_), unit);
    if (!optionLabels_ || optionLabels_->empty()) return object.release();

    Json values(json_array());
    for (const auto& [value, label] : *optionLabels_) {
        Json entry(json_object());
        const bool complete = add_member(entry.get(), "value", json_text(value), unit) &&
                              add_member(entry.get(), "label", json_text(label), unit);
        if (!complete || json_array_append_new(values.get(), entry.release()) != 0)
            error("m2mrendering->encodeJSON error adding value <%s> to allowed values list", value.c_str());
    }
    add_member(object.get(), "allowed_values", values.release(), unit);
    return object.release();
}
