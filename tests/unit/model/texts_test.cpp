// The texts inside database fields, and how objects travel: options, labels, tags, descriptions, credentials.
#include <gtest/gtest.h>

#include <string>

#include "model/m2mkovadobject.h"
#include "model/m2mobjectcategory.h"
#include "model/m2mremotableobject.h"
#include "model/m2mrendering.h"
#include "model/m2muser.h"
#include "support/catching.h"

namespace {

TEST(Options, AreRewrittenWithoutMalformedEntries) {
    for (const auto& c : cases(__FILE__, "options")) {
        M2MKovadObject object;
        object.setOptional(c[0]);
        object.setOption(c[1], c[2]);
        EXPECT_EQ(object.getOptional(), c[3]) << c;
    }
    M2MKovadObject object;
    object.setOptional("a=|a|a=1=2|key==value|a=1|a=2|NO-VALUE");
    const M2MKovadObject copy(&object);
    for (const auto& [key, value] : {std::pair{"a", "1"}, {"key", "value"}, {"A", ""}, {"NO-VALUE", ""}})
        EXPECT_EQ(copy.getOption(key), value) << key;
}

TEST(Labels, AreEntriesOfExactlyTwoParts) {
    for (const auto& c : cases(__FILE__, "labels")) {
        M2MRendering rendering;
        for (const std::string& text : {c[0].get<std::string>(), std::string("NO-VALUE"), std::string()}) {
            rendering.setOptionLabels(text);  // unset texts leave the labels as they are
            EXPECT_EQ(*rendering.getOptionLabels(), c[1].get<M2MRendering::Labels>()) << c << text;
        }
    }
}

TEST(Renderings, TravelAsRangeAndLabels) {
    const M2MRendering range(1, "r", renderingMode::range, -40, 80, 0.1F, "NO-VALUE", "set|step");
    EXPECT_EQ(*range.getActionList(), (Texts{"set", "step"}));
    EXPECT_EQ(wire(range.encodeJSON()), R"({"min":-40.0,"max":80.0,"step":0.10000000149011612})");
    const M2MRendering labels(2, "l", renderingMode::options, {{"b", "B"}, {"a", "\xE9t\xE9"}}, {});
    std::string seen;
    const std::string unit = "m2mrendering->encodeJSON error adding ";
    EXPECT_EQ(messages_of([&] { seen = wire(M2MRendering(&labels).encodeJSON()); }),
              (Texts{unit + "tag <label>", unit + "value <a> to allowed values list"}));
    EXPECT_EQ(seen, R"({"min":0.0,"max":0.0,"step":0.0,"allowed_values":[{"value":"b","label":"B"}]})");
}

TEST(StoredTexts, AreReadByTheirRules) {
    for (const auto& c : cases(__FILE__, "tags")) EXPECT_EQ(extract_element_tag(c[0], "previous"), c[1]) << c;
    for (const auto& c : cases(__FILE__, "credentials")) EXPECT_EQ(password_credential(c[0]), c[1]) << c;
    M2MObjectCategory category;
    for (const auto& c : cases(__FILE__, "descriptions")) {
        category.setDescription(c[0]);
        EXPECT_EQ(category.getDescription(), c[1]);
    }
    M2MRemotableObject object;
    for (const auto& c : cases(__FILE__, "actions")) {
        object.setActionList(c[0].get<std::string>());
        EXPECT_EQ(*object.getActionList(), c[1].get<Texts>()) << c;
    }
}

}  // namespace
