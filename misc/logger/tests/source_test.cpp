#include <string>
#include <type_traits>
#include <vector>

#include <gmock/gmock.h>
#include <logger/logger.h>

namespace {

using namespace qx::logging;
using testing::ElementsAre;

static_assert(std::is_same_v<decltype(MakeSource("a")), SourcePtr>);

std::vector<std::string> namesInwardOut(const ConstSourcePtr& source)
{
    std::vector<std::string> names;
    for (const Source* s = source.get(); s != nullptr; s = s->Parent().get()) {
        names.push_back(s->Name());
    }
    return names;
}

TEST(Source, GivenANameOnly_ThenItHasNoParent)
{
    const Source source("name");
    EXPECT_EQ(source.Name(), "name");
    EXPECT_EQ(source.Parent(), nullptr);
}

TEST(Source, GivenAStringWithANulByte_ThenTheNameIsWhole)
{
    const IPString name("a\0b", 3);
    EXPECT_EQ(Source(name).Name(), name);
}

TEST(Source, GivenAParent_ThenItIsShared)
{
    const ConstSourcePtr outer = MakeSource("outer");
    const Source inner("inner", outer);
    EXPECT_EQ(inner.Parent(), outer);
    EXPECT_EQ(outer.use_count(), 2);
}

TEST(Source, GivenMakeSource_ThenNameAndParentArePassedOn)
{
    const ConstSourcePtr inner = MakeSource(IPString("inner"), MakeSource("outer"));
    EXPECT_THAT(namesInwardOut(inner), ElementsAre("inner", "outer"));
    EXPECT_EQ(inner.use_count(), 1);
}

TEST(SourceReverse, GivenOneSource_ThenACopyOfIt)
{
    EXPECT_THAT(namesInwardOut(Source("only").Reverse()), ElementsAre("only"));
}

TEST(SourceReverse, GivenAChain_ThenTheOutermostComesFirst)
{
    const auto chain = MakeSource("inner", MakeSource("middle", MakeSource("outer")));
    EXPECT_THAT(namesInwardOut(chain->Reverse()), ElementsAre("outer", "middle", "inner"));
}

TEST(SourceReverse, GivenAChain_ThenTheChainItselfIsNotChanged)
{
    const ConstSourcePtr outer = MakeSource("outer");
    const ConstSourcePtr chain = MakeSource("inner", outer);
    chain->Reverse();
    EXPECT_THAT(namesInwardOut(chain), ElementsAre("inner", "outer"));
    EXPECT_EQ(outer.use_count(), 2);
}

TEST(SourceReverse, GivenAReversedChain_WhenReversedAgain_ThenTheFirstOrder)
{
    const ConstSourcePtr chain = MakeSource("inner", MakeSource("middle", MakeSource("outer")));
    EXPECT_THAT(namesInwardOut(chain->Reverse()->Reverse()), ElementsAre("inner", "middle", "outer"));
}

} // namespace
