#pragma once

#include "pic/PicDevice.h"

#include <cstdio>

/// Reads a firmware file once from its start to its end before its PIC is told anything, and goes
/// back to the start. Returns false after printing "Error: ..." if the update would refuse a
/// record, or if the file can't be read to its end or not read again. Warns on standard error of
/// program rows that don't follow one another and of a file without any.
///
/// A line that can't be decoded ends the look without a word: the update reports it at its place.
bool lookThroughPicFile(std::FILE* firmwareFile, const PicDevice& device);
