// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <compare>
#include <ctime>
#include <map>
#include <string>

/** Whether nothing is at the path of an image any more. */
bool isRemoved(const std::string& path);

/** Which file an image is, and in which state: two of the same path are equal
 *  where neither the file nor its content changed in between.
 */
class ImageIdentity
{
  public:
    /** @param path  a file, or a directory; then all that is in it counts, too.
     *                Links are not followed
     *  @throw Failure  it cannot be looked at
     */
    explicit ImageIdentity(const std::string& path);

    bool operator==(const ImageIdentity&) const = default;

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

    void add(const std::string& path);

    std::map<std::string, File> files;
};
