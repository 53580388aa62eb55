// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// A source with the definition of a catalogue, in a program whose other source has none.
#include <Ostrel/Testing/Simulator>
