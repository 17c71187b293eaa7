#pragma once

#include "app/Task.h"
#include "firmware/ImageFormat.h"

#include <string>

class ImageWriter;

/// Converts an Intel HEX file into a firmware image.
class ArmFirmwareTask : public Task {
public:
    /// The image's path is the HEX path and ".bin" when `outputDirectory` is empty, otherwise
    /// `outputDirectory` (used as it is, so it ends in a slash), the HEX file's name and ".bin".
    /// Throws `AppException` if an output directory is given and the HEX path ends in a slash.
    ArmFirmwareTask(const std::string& hexFile, const std::string& outputDirectory);

    const char* name() const override { return "Intel HEX to binary"; }

    /// Returns 0, or -1 after printing what failed. An image that was begun is left as it is then:
    /// without an end marker and without a count in its first header. An older image stays only if
    /// one of the two files can't be opened. In an output directory, whatever has the image's name
    /// is removed before, and a run fails that can't do so.
    int run() override;

    const std::string hexPath;
    const std::string binPath; ///< of the image that `run` writes

private:
    bool openImage(ImageWriter& image) const;

    bool hasOutputDirectory;
};

/// Programs the co-processor from a firmware image (".bin") or an Intel HEX file (".hex"), which it
/// converts into an image under /var/volatile/ first.
class ArmProgramTask : public Task {
public:
    explicit ArmProgramTask(const std::string& firmwareFile);

    const char* name() const override { return "arm-programming"; }

    /// Returns 0 when the co-processor was programmed, or -1 after printing what failed. Nothing
    /// reaches the device before the whole image has passed its checks. From here on the process
    /// survives its reader and its terminal. Passes on what the constructor of `ArmFirmwareTask`
    /// throws.
    int run() override;

    /// Checks and sends one image. `progressStart` is in percent. Returns 0 or -1.
    int programImage(const std::string& path, int progressStart) const;

    /// Converts a HEX file and programs the resulting image, which is left behind. Returns 0 or -1.
    int convertAndProgram(const std::string& hexPath) const;

private:
    std::string imagePath; ///< as given: of an image or a HEX file
};
