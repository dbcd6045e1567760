// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../common/descriptor.hpp"

#include <sys/types.h>

#include <compare>
#include <ctime>
#include <map>
#include <string>

/** Whether nothing is at the path of an image any more. */
bool isRemoved(const std::string& path);

/** Sees whether an image is still the one that it was when the object was made:
 *  the same file with the same content. Of a directory all that is in it
 *  counts, too. Links are not followed.
 */
class ImageGuard
{
  public:
    /** @param image  its canonical path
     *  @throw Failure  it cannot be looked at
     */
    explicit ImageGuard(std::string image);

    /** @throw Failure  imageRefused: it is not, or it cannot be looked at */
    void requireUnchanged() const;

    /** The same after the flash, which may remove the image that it has
     * flashed.
     *
     *  @throw Failure  flashFailed: another one may have been flashed
     */
    void requireUnchangedByNow();

  private:
    struct File
    {
        dev_t device;
        ino_t inode;
        off_t size;
        std::time_t changed;
        long changedNanoseconds;

        bool operator==(const File&) const = default;
    };

    /** By path. */
    using Files = std::map<std::string, File>;

    static Files filesOf(const std::string& image);
    int watch(const std::string& path, unsigned changes);
    bool isChange(int watch, unsigned mask, const std::string& entry) const;

    /** Whether another image took the place of this one, or its content
     *  changed, or that cannot be known. A removal of the image is no change,
     *  nor is one of the directories above its own.
     */
    bool sawChange();

    /** Where the image is gone in the end, only the watch can tell. */
    bool isUnchanged();

    std::string image;
    Files before;
    Descriptor events;
    int directory = -1;
    bool isBlind = false;
};
