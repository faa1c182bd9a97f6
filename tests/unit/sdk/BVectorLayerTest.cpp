// The layer's own properties.
#include <Orvane/BPointGeo.h>
#include <Orvane/BVectorLayer.h>

#include <gtest/gtest.h>

namespace Orvane {

namespace {

TEST(BVectorLayer, HoldsNameSchemaCoordinateSystemAndFeatures)
{
    BVectorLayer layer;
    EXPECT_FALSE(layer.IsDiskCached());
    EXPECT_TRUE(layer.GetName().IsEmpty());
    EXPECT_EQ(layer.GetSchema().GetCount(), 0U);
    EXPECT_FALSE(layer.GetCoordSys());
    layer.SetName("layer");
    BAttributeDefs schema;
    BAttributeDef def;
    def.SetName("a");
    schema.Add(def);
    layer.SetSchema(schema);
    const auto feature = MakeShared<BFeature>();
    feature->SetGeometry(MakeShared<BPointGeo>(1, 2));
    feature->SetMBR(feature->GetPoint()->GetMBB());
    layer.GetFeatures().Add(feature);
    EXPECT_EQ(layer.GetName(), BString("layer"));
    EXPECT_EQ(layer.GetSchema(), schema);
    const BVectorLayer& constant = layer;
    EXPECT_EQ(constant.GetFeatures().GetCount(), 1U);
    EXPECT_EQ(constant.GetMBB().maxY, 2);
}

} // namespace

} // namespace Orvane
