// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../common/descriptor.hpp"

#include <string>

/** Sees whether another image takes the place of one, or its content changes.
 *  Where the image is gone in the end, its identity cannot tell that.
 */
class ImageWatch
{
  public:
    /** @param image  its canonical path; a file, or a directory: then all that
     *                is in it is watched, too
     */
    explicit ImageWatch(const std::string& image);

    /** Whether there was such a change, or it cannot be known. A removal of the
     *  image is no change, nor is one of the directories above its own.
     */
    bool sawChange();

  private:
    void add(const std::string& path);
    bool isChange(int watch, unsigned mask, const std::string& entry) const;

    Descriptor events;
    std::string name;
    int directory = -1;
    bool isBlind = false;
};
