// How the value of an object may be shown and set: a numeric range, or a list of values with labels. A row of
// KOVAD_RENDERING, read once and kept for the life of the process.
#pragma once

#include <jansson.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

enum class renderingMode { options = 1, range = 2 };

class M2MRendering {
  public:
    using Cache = std::map<long, std::shared_ptr<M2MRendering>>;
    using Labels = std::map<std::string, std::string>;  // value -> label

    M2MRendering() = default;
    // Reads the rendering from the database; on success a copy is in the cache.
    explicit M2MRendering(long id);
    explicit M2MRendering(const M2MRendering* other) { copyAllAttributes(other); }
    M2MRendering(long id, std::string name, renderingMode mode, const Labels& labels,
                 const std::vector<std::string>& actions);
    M2MRendering(long id, std::string name, renderingMode mode, float min, float max, float step,
                 const std::string& labels, const std::string& actions);
    M2MRendering(const M2MRendering&) = delete;
    M2MRendering& operator=(const M2MRendering&) = delete;
    ~M2MRendering() = default;
    // Copies every field, labels and actions as new copies; null changes nothing.
    void copyAllAttributes(const M2MRendering* other);

    // The cached rendering, read on first use; empty when it is unknown or the cache is gone.
    static std::shared_ptr<M2MRendering> getNewRendering(long id);
    // Drops the cache; nothing is found afterwards.
    static void deleteCache();

    // 0; after logging 13 (database), or 10 when there is no such row or it has no ID.
    int readFromDB(long id);

    long getID() const { return id_; }
    void setID(long id) { id_ = id; }
    std::string getName() const { return name_; }
    void setName(std::string name) { name_ = std::move(name); }
    renderingMode getMode() const { return mode_; }
    void setMode(renderingMode mode) { mode_ = mode; }
    float getMin() const { return min_; }
    void setMin(float min) { min_ = min; }
    float getMax() const { return max_; }
    void setMax(float max) { max_ = max; }
    float getStep() const { return step_; }
    void setStep(float step) { step_ = step; }
    // The labels, or null when none were set; owned by the rendering.
    const Labels* getOptionLabels() const { return optionLabels_.get(); }
    void setOptionLabels(const Labels& labels);
    // Parses entries value=>"label" joined by "|". An empty text or "NO-VALUE" leaves the labels as they are.
    void setOptionLabels(const std::string& text);
    // The actions, or null when none were set; owned by the rendering.
    const std::vector<std::string>* getActionList() const { return actionList_.get(); }
    void setActionList(const std::vector<std::string>& actions);
    // Splits a text at "|".
    void setActionList(const std::string& text);

    // New JSON object {"min", "max", "step"} and, when there are labels, "allowed_values"; owned by the caller.
    json_t* encodeJSON() const;

  private:
    static std::unique_ptr<Cache> cachedRenderingList;

    long id_ = -1;
    std::string name_;
    renderingMode mode_ = renderingMode::range;
    float min_ = 0;
    float max_ = 0;
    float step_ = 0;
    std::unique_ptr<Labels> optionLabels_;
    std::unique_ptr<std::vector<std::string>> actionList_;
};
