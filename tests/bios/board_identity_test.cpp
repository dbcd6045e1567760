// SPDX-License-Identifier: Apache-2.0
#include "upload_bios.hpp"

// compare_boardID: the host service is asked first; the image is looked at
// only when it has answered.

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

class BoardIdentity : public UploadBios
{
  protected:
    std::string imageForBoard(int board) const
    {
        return images.make("bios",
                           {"--kind", "bios", "--version", "1", "--board",
                            std::to_string(board), "--force"});
    }
};

const auto mismatch = errNotFlushed("boardID is mismatch\n");

TEST_F(BoardIdentity, HoldsSilentlyWhereBothIdentifiersAreEqual)
{
    for (const auto board : {0, 1, 7, 0x7fff, 0x8000, 65535})
    {
        hostAnswers(reply::shortVariant(static_cast<std::uint16_t>(board)));

        EXPECT_TRUE(manager.compare_boardID(imageForBoard(board)));

        EXPECT_THAT(events(), ElementsAre("call: Get"));
        EXPECT_THAT(sent(), ElementsAre(host::call()));
    }
}

TEST_F(BoardIdentity, FailsWhereTheIdentifiersDiffer)
{
    hostAnswers(reply::shortVariant(7));
    const auto image = imageForBoard(8);

    EXPECT_FALSE(manager.compare_boardID(image));

    EXPECT_THAT(events(), ElementsAre("call: Get", mismatch));
    EXPECT_THAT(sent(), ElementsAre(host::call()));
    EXPECT_THAT(core.calls, ElementsAre("get_bios_board_id " + image));
}

TEST_F(BoardIdentity, IsNeverThatOfAnImageWithoutOne)
{
    hostAnswers(reply::shortVariant(65535));

    EXPECT_FALSE(manager.compare_boardID(images.missing()));
    EXPECT_THAT(events(), ElementsAre("call: Get", mismatch));
}

TEST_F(BoardIdentity, IsComparedInThirtyTwoBits)
{
    struct Row
    {
        std::uint16_t host;
        int image;
    };

    for (const auto& row : {Row{65535, -1}, Row{0, 65536}, Row{1, 65537},
                            Row{7, 7 - 65536}, Row{0, INT_MIN}})
    {
        hostAnswers(reply::shortVariant(row.host));
        core.board = row.image;

        EXPECT_FALSE(manager.compare_boardID("/tmp/image"));
        EXPECT_THAT(events(), ElementsAre("call: Get", mismatch));
    }
}

TEST_F(BoardIdentity, IsZeroWhereTheHostAnswersWithAnotherTypeOrWithNothing)
{
    for (const auto& answer :
         {reply::textVariant("1"), reply::numberVariant(1), reply::nothing()})
    {
        hostAnswers(answer);

        EXPECT_TRUE(manager.compare_boardID(imageForBoard(0)));
        EXPECT_THAT(events(), ElementsAre("call: Get"));

        EXPECT_FALSE(manager.compare_boardID(imageForBoard(1)));
        EXPECT_THAT(events(), ElementsAre("call: Get", mismatch));
    }
}

TEST_F(BoardIdentity, FailsWithoutALookAtTheImageWhereTheHostCannotTell)
{
    hostAnswers(reply::error("com.WEXA.Error.Off", "The host is off."));

    EXPECT_FALSE(manager.compare_boardID("/tmp/image"));

    EXPECT_THAT(
        events(),
        ElementsAre("call: Get", err("boardID is mismatch: sd_bus_call: "
                                     "com.WEXA.Error.Off: The host is off.")));
    EXPECT_THAT(core.calls, IsEmpty());
}

TEST_F(BoardIdentity, EndsWhereNoCallCanBeCreated)
{
    auto broken = unconnected();
    Manager onBroken{broken};

    EXPECT_EQ(thrownText<sdbusplus::exception::SdBusError>(
                  [&] { onBroken.compare_boardID("/tmp/image"); }),
              creationFailure);

    EXPECT_THAT(events(), IsEmpty());
    EXPECT_THAT(core.calls, IsEmpty());
}

} // namespace
