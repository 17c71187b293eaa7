// The look through a PIC's HEX file and the update behind it: what they print and what the PIC is
// told. The input's first byte chooses the PIC, which accepts each command.

#include "base/FileStream.h"
#include "fuzz/FuzzTarget.h"
#include "fuzz/PlainReading.h"
#include "pic/PicFileLook.h"
#include "pic/PicUpdate.h"

#include <algorithm>

using lc::MoxArmControl;

namespace {

std::string sent; ///< to the PIC: a line for each command

void recordCommand(std::string& commands, int command, const std::string& payload = "")
{
    commands += std::to_string(command);
    for (const char byte : payload) {
        commands += " " + std::to_string(static_cast<std::uint8_t>(byte));
    }
    commands += "\n";
}

struct Refusal {
    std::string text;
};

/// What look and update of a file are to do, record by record.
struct PlainUpdate {
    std::string refusal;  ///< by the look; if any, nothing else is printed and nothing sent
    std::string warnings; ///< of the look
    std::string printed;  ///< by the update
    std::string commands;

    PlainUpdate(const std::string& text, const PicDevice& target)
        : isGps(target.code == MoxArmControl::PicDevKt4100Gps)
    {
        const bool isShoe = target.code == MoxArmControl::PicDevOrvelShoe;
        recordCommand(commands, 0);
        recordCommand(commands, 2, {isShoe ? '\xC0' : '\0', 1, 0, 2, 0, 3});
        try {
            std::size_t length = 0;
            for (std::size_t i = 0; i < text.size(); i += length) {
                length = std::min(text.find('\n', i) - i, std::size_t{199}) + 1;
                take(plainPicLine(upToNul(text.substr(i, length)), 100));
            }
        } catch (const Refusal& reason) {
            refusal = "Error: " + reason.text + "\n";
            return;
        } catch (const std::string& failure) {
            printed += "Error: " + failure + "\n";
            return;
        }
        warnings += hasRows ? "" : "Warning: no program rows for this PIC in the file\n";
        if (!rows.empty()) {
            sendBlock(true);
        }
        commands += isGps ? "3\n" : "3\n1\n";
        printed += std::string(target.completionText) + "\n";
    }

private:
    void take(const std::string& record)
    {
        if (record.size() < 5) {
            printed += "Invalid num bytes in line " + std::to_string(lineCounter++) + "\n";
            return;
        }
        const std::uint32_t length = plainBigEndian(record, 0, 1);
        const std::uint32_t type = plainBigEndian(record, 3, 1);
        if (type == 0) {
            ++lineCounter;
            takeData(plainBigEndian(record, 1, 2), length, record.substr(4));
        } else if (type == 4) {
            refuseIf(length < 2 || record.size() < 7, "Extended address record without an address");
            area = plainBigEndian(record, 4, 2);
        } else if (type != 1) {
            printed += "Not doing anything with line type " + std::to_string(type) + "\n";
        }
    }

    void takeData(std::uint32_t offset, std::size_t length, const std::string& data)
    {
        if (isGps && area != 0) {
            return;
        }
        refuseIf(data.size() <= length, "Fewer data bytes in line than its byte count says");
        if (area == 0x30) {
            refuseIf(length < 14, "Configuration record of fewer than 14 bytes");
            recordCommand(commands, 5, data.substr(0, 14));
            return;
        }
        refuseIf(length > 16, "Program row of more than 16 bytes");
        if (length != 0) {
            addRow(area * 0x10000 + offset, data.substr(0, length));
        }
    }

    static void refuseIf(bool isWrong, const char* reason)
    {
        if (isWrong) {
            throw Refusal{reason};
        }
    }

    void addRow(std::uint32_t address, const std::string& data)
    {
        hasRows = true;
        blockAddress = rows.empty() ? address : blockAddress;
        if (address != blockAddress + rows.size() && warnings.empty()) {
            char line[200];
            std::snprintf(
                line, sizeof(line),
                "Warning: the program row at %08X does not follow the one before it; rows "
                "are sent in the order of the file and lie one behind the other in a "
                "block, whatever their addresses\n",
                address);
            warnings = line;
        }
        rows += data;
        fill((rows.size() + 15) / 16 * 16);
        if (rows.size() == 64) {
            sendBlock(isGps);
        }
    }

    void fill(std::size_t size)
    {
        while (rows.size() < size) {
            rows += rows.size() % 2 == 0 ? '\xFF' : '\x3F';
        }
    }

    void sendBlock(bool swaps)
    {
        fill(64);
        std::string block;
        for (int shift = 24; shift >= 0; shift -= 8) {
            block += static_cast<char>(blockAddress >> shift);
        }
        for (std::size_t i = 0; i < 64; i += 2) {
            const std::string pair = rows.substr(i, 2);
            block += swaps && pair == "\x3F\xFF" ? "\xFF\x3F" : pair;
        }
        int sum = 0;
        for (const char byte : block) {
            sum -= byte;
        }
        recordCommand(commands, 4, block + static_cast<char>(sum));
        rows.clear();
    }

    bool isGps;
    std::uint32_t area = 0; ///< upper 16 bits of addresses
    int lineCounter = 0;
    bool hasRows = false;
    std::uint32_t blockAddress = 0;
    std::string rows; ///< of a block that is not complete
};

} // namespace

bool MoxArmControl::Pic_Update_Comm_Tx(PicUpdateDevType /*device*/, PicUpdateCmdType command,
                                       int length, unsigned char* data)
{
    recordCommand(sent, command, toText(data, static_cast<std::size_t>(length)));
    return true;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 2) {
        return 0;
    }
    deliver(std::string("\x03\xbe\xed\xfe\x04\x01\0\0\1\0\0\0", 12) + std::string(256, '\0'));
    PicCommandChannel channel;
    channel.open();
    const PicDevice& device = allPicDevices()[data[0] % allPicDevices().size()];
    std::string text = toText(data + 1, size - 1);
    const FileStream file(fmemopen(text.data(), text.size(), "r"));
    const PlainUpdate plain(text, device);
    sent.clear();
    bool isAccepted = false;
    expectSame(capture([&] { isAccepted = lookThroughPicFile(file.get(), device); }) + sent,
               plain.refusal.empty() ? plain.warnings : plain.refusal);
    if (!isAccepted) {
        expectSame("refused", plain.refusal.empty() ? "accepted" : "refused");
        return 0;
    }
    std::int32_t lineCounter = 0;
    PicUpdate update({channel, device, {1, 2, 3}, file.get(), lineCounter});
    expectSame(capture([&] { update.run(); }), plain.printed);
    expectSame(sent, plain.commands);
    return 0;
}
