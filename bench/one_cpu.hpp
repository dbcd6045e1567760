// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace bench
{

/** Binds this process, and all that it starts from now on, to one CPU, so
 *  that a call's cost is work and not where the scheduler puts it.
 */
void pinToOneCpu();

} // namespace bench
