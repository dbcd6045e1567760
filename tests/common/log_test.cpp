// SPDX-License-Identifier: Apache-2.0
#include "../support/library_test.hpp"

#include <iostream>
#include <streambuf>

// The log's bytes do not depend on how the daemon left its streams, nor on who
// else writes.

using namespace test;
using testing::ElementsAre;

namespace
{

class Log : public LibraryTest
{};

TEST_F(Log, KeepsItsTextsWhateverWidthAndFillTheStreamsHave)
{
    std::cout.width(200);
    std::cout.fill('*');

    manager.onBMCUpdateSuccess();

    EXPECT_THAT(events(), ElementsAre(out("void wexa::core::FWManagerInternal::"
                                          "onBMCUpdateSuccess()")));
    std::cout.width(0);
    std::cout.fill(' ');
}

/** What is written to a stream, piece by piece. */
class Pieces : public std::streambuf
{
  public:
    std::vector<std::string> written;

  protected:
    std::streamsize xsputn(const char* text, std::streamsize size) override
    {
        written.emplace_back(text, static_cast<std::size_t>(size));
        return size;
    }

    int_type overflow(int_type character) override
    {
        written.emplace_back(1, traits_type::to_char_type(character));
        return character;
    }
};

TEST_F(Log, WritesALineInOnePiece)
{
    Pieces pieces;
    auto* const replaced = std::cerr.rdbuf(&pieces);

    manager.getCPLDImageFileInfo("MB", "/nowhere/image");

    std::cerr.rdbuf(replaced);
    EXPECT_THAT(pieces.written, ElementsAre("ERROR !! File /nowhere/image does "
                                            "NOT exists\n"));
}

} // namespace
