// SPDX-License-Identifier: Apache-2.0

// A library of nothing, to load beside the real one.
