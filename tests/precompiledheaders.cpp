// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// Not run: the target has the headers, and CMake wants a program around them.
int main()
{
    return 0;
}
