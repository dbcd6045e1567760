// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "input.hpp"

#include <string>

/** What is fuzzed: each target turns the bytes of one execution into a
 *  situation, has the library act in it, and calls `fail` where the outcome
 *  is not what it must be. Sanitizers find the rest.
 */
namespace fuzz
{

class Target
{
  public:
    /** Registers it by its name, before `main` begins. */
    Target(std::string name, void (*run)(Input input));

    Target(const Target&) = delete;
    Target& operator=(const Target&) = delete;

    /** @return null where the program holds no target of that name; the only
     *          one it holds where the name is empty
     */
    static const Target* named(const std::string& name);

    void run(std::string_view bytes) const
    {
        execute(Input(bytes));
    }

  private:
    std::string name;
    void (*execute)(Input input);
};

/** Says why, not through the library's streams, and aborts. */
[[noreturn]] void fail(const std::string& why);

/** Shows both and fails if they differ. */
void requireSame(const std::string& what, const std::string& expected,
                 const std::string& actual);

} // namespace fuzz
