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
    /** Makes it known by its name, from before `main` on. */
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

/** Says why, past the library's streams, and aborts. */
[[noreturn]] void fail(const std::string& why);

/** Where they differ shows both and fails. */
void requireSame(const std::string& what, const std::string& expected,
                 const std::string& actual);

} // namespace fuzz
