// Remotable objects against a real database: how they are read, cached and refreshed, and what a database may hold.
#include <algorithm>
#include <fstream>
#include <iterator>
#include <numeric>
#include <string>

#include "model/m2mremotableobject.h"
#include "support/services.h"

namespace {

using Ids = std::list<long>;
using Names = M2MRemotableObject::ItemNamesById;

class RemotableObject : public WithServices {
  protected:
    RemotableObject() {
        const std::string source = __FILE__;
        std::ifstream file(source.substr(0, source.rfind("_test.cpp")) + ".sql");
        sql({std::istreambuf_iterator<char>(file), {}});
    }
    static auto get(long id) { return M2MRemotableObject::getNewRemotableObject(id); }
    static std::string encoded(long id) {
        const auto object = get(id);
        return object ? wire(object->encodeJSON()) : "none";
    }
};

TEST_F(RemotableObject, IsReadOnceWithRenderingCategoryAndActions) {
    step("first", [] { return encoded(150); });
    step("second", [] { return encoded(151).size(); });
    step("again", [] { return get(151)->getRendering() == get(150)->getRendering(); });
    step("not discoverable", [] { return M2MRemotableObject::getNewRemotableObject(152, true) == nullptr; });
    step("but remotable, and enabled whatever the flag says", [] { return get(152)->isEnabled(); });
    step("negative", [] { return get(-1) == nullptr; });
}

TEST_F(RemotableObject, FailedReadCachesNothing) {
    for (const char* part : {"WHERE O.ID='180'", "ALLOWED_ACTIONS", "R.PARENTOBJ_ID='180'"}) {
        script(part);
        prepare([] { EXPECT_EQ(get(180), nullptr); });
        EXPECT_FALSE(M2MRemotableObject::objectExistsInCache(180)) << part;
        endScripts();
    }
    prepare([] { EXPECT_NE(get(180), nullptr); });
    script("KOVAD_RENDERING");
    step("without rendering and category", [] { return encoded(200); });
    endScripts();
    M2MRemotableObject::deleteCache();
    step("Latin-1 and no numbers", [] { return encoded(200); });
    step("NULL everywhere, and its rendering is that of ID 0", [] { return encoded(0); });
    script("WHERE O.ID='201'", "Response: FSMC-000\nNum rows: 2\nFields   : 'ID','TYPE'\nRow 00000: '201'\n");
    step("row with fewer values than columns", [] { return encoded(201); });
    script("WHERE O.ID='202'", "Response: FSMC-000\nNum rows: 2\nFields   : 'TYPE'\nRow 00000: 'X'\n");
    step("row without ID", [] { return encoded(202); });
}

TEST_F(RemotableObject, ComplexOneHasItsDiscoverableChildrenWithTheirTags) {
    step("encoded", [] { return encoded(180); });
    std::string children;
    for (const auto& [id, child] : *get(180)->getElementChildren())
        children += std::to_string(id) + "=" + child->getTag() + "<" + std::to_string(child->getParentObjectID()) + " ";
    EXPECT_EQ(children, "181=second<180 182=second<180 183=first<180 ");
}

TEST_F(RemotableObject, RelationsThatGoRoundOrDownForEverEnd) {
    EXPECT_EQ(get(190)->getElementChildren(), nullptr);
    EXPECT_EQ(get(191)->getElementChildrenIDList(), Ids{192});
    EXPECT_EQ(get(192)->getElementChildren(), nullptr);  // read as a child, when 191 was not to be found
    EXPECT_NE(get(1000), nullptr);
    EXPECT_EQ(M2MRemotableObject::objectsInCache().size(), 3 + 32U);
    for (long id = 3000; id >= 1000; --id) get(id);  // each finds the one below it cached
    EXPECT_LT(encoded(1500).size(), 100'000U);
    prepare();
}

TEST_F(RemotableObject, PartsAreBoundInNumberToo) {
    const std::string relate =
        "INSERT INTO KOVAD_OBJECT_RELATION (PARENTOBJ_ID, CHILDOBJ_ID, OPTIONAL) SELECT P.ID, C.ID, "
        "'tag_complex_element=\"t\"' FROM KOVAD_OBJECT P, KOVAD_OBJECT C WHERE ";
    sql(relate + "P.ID BETWEEN 20000 AND 20109 AND C.ID BETWEEN 20200 AND 20299");
    sql(relate + "P.ID=20300 AND C.ID BETWEEN 20000 AND 20109");
    std::size_t parts = 0;
    for (const long id : get(20'300)->getElementChildrenIDList())
        parts += 1 + get(id)->getElementChildrenIDList().size();
    EXPECT_EQ(parts, 99 * 101U);  // the hundredth would make it more than 10,000
    prepare();
}

TEST_F(RemotableObject, ValuesAreRefreshedInOneStatement) {
    const auto read = [](const auto& request) {
        std::string values;
        const auto objects = M2MRemotableObject::readValuesFromDB(&request);
        if (!objects) return std::string("null");
        for (const auto& object : *objects) values += object->getName() + "=" + object->getCurrentValue() + " ";
        return values;
    };
    prepare([&] { read(Ids{20, 30, 24}); });
    sql("UPDATE KOVAD_OBJECT SET CURRENT_VALUE='new' WHERE ID IN (20, 30, 31, 32)");
    step("by IDs", [&] { return read(Ids{20, 30, 24}); });
    EXPECT_EQ(get(31)->getCurrentValue(), "new");
    step("by names", [&] { return read(Names{{30, {"Mode", "mode", "Setpoint"}}, {20, {"ignored"}}}); });
    step("by no name there is", [&] { return read(Names{{30, {"nothing"}}}); });
    step("unknown", [&] { return read(Ids{-1}); });
    script("SELECT ID, CURRENT_VALUE");
    step("failing", [&] { return read(Ids{20}); });
    step("no list", [] { return M2MRemotableObject::readValuesFromDB(static_cast<const Ids*>(nullptr)) == nullptr; });
}

TEST_F(RemotableObject, FiveThousandCostTheSameEach) {
    Ids ids(5000);
    std::iota(ids.begin(), ids.end(), 10'001);
    const auto objects = M2MRemotableObject::readValuesFromDB(&ids);
    EXPECT_EQ(takeRequests().size(), 2 * 5000U + 1);  // row and actions of each, and the values of all
    sql("UPDATE KOVAD_OBJECT SET CURRENT_VALUE='new' WHERE ID > 10000");
    M2MRemotableObject::readValuesFromDB(&ids);
    EXPECT_EQ(takeRequests().size(), 1U);
    EXPECT_TRUE(std::all_of(objects->begin(), objects->end(), [](auto& o) { return o->getCurrentValue() == "new"; }));
}

}  // namespace
