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

using Bytes = std::vector<std::uint8_t>;

const std::string accepted =
    std::string("\x03\xbe\xed\xfe\x04\x01\0\0\x01\0\0\0", 12) + std::string(256, '\0');

std::string sent; ///< by the update

/// A command with its payload as a line.
std::string commandLine(int command, const Bytes& payload)
{
    std::string line = std::to_string(command);
    for (const std::uint8_t byte : payload) {
        line += " " + std::to_string(byte);
    }
    return line + "\n";
}

/// What look and update of a file are to do, record by record.
class PlainUpdate {
public:
    PlainUpdate(const std::string& text, const PicDevice& target)
        : isGps(target.code == MoxArmControl::PicDevKt4100Gps)
    {
        const bool isShoe = target.code == MoxArmControl::PicDevOrvelShoe;
        commands =
            "0\n" + commandLine(2, {static_cast<std::uint8_t>(isShoe ? 0xC0 : 0), 1, 0, 2, 0, 3});
        for (std::size_t i = 0; i < text.size();) {
            const std::size_t length = std::min(text.find('\n', i) - i, std::size_t{199}) + 1;
            if (!take(text.substr(i, length).c_str())) { // as far as a NUL
                return;
            }
            i += length;
        }
        if (!hasRows) {
            warnings += "Warning: no program rows for this PIC in the file\n";
        }
        if (!rows.empty()) {
            endBlock(true);
        }
        commands += isGps ? "3\n" : "3\n1\n";
        printed += std::string(target.completionText) + "\n";
    }

    std::string refusal;  ///< if any, nothing else is printed and nothing sent
    std::string warnings; ///< of the look
    std::string printed;  ///< by the update
    std::string commands;

private:
    /// Returns false if the line ends look and update.
    bool take(const std::string& text)
    {
        const PlainPicLine line(text, 100);
        const Bytes& record = line.bytes;
        if (!line.failure.empty()) {
            printed += "Error: " + line.failure + "\n";
            return false;
        }
        if (record.size() < 5) {
            printed += "Invalid num bytes in line " + std::to_string(lineCounter++) + "\n";
            return true;
        }
        switch (record[3]) {
        case 0:
            ++lineCounter;
            return takeData(record);
        case 1:
            return true;
        case 4:
            if (record[0] < 2 || record.size() < 6) {
                return refuse("Extended address record without an address");
            }
            area = record[4] * 256U + record[5];
            return true;
        default:
            printed += "Not doing anything with line type " + std::to_string(record[3]) + "\n";
            return true;
        }
    }

    bool takeData(const Bytes& record)
    {
        if (isGps && area != 0) {
            return true;
        }
        if (record.size() < record[0] + std::size_t{5}) {
            return refuse("Fewer data bytes in line than its byte count says");
        }
        const Bytes data(record.begin() + 4, record.begin() + 4 + record[0]);
        if (area == 0x30) {
            if (data.size() < 14) {
                return refuse("Configuration record of fewer than 14 bytes");
            }
            commands += commandLine(5, Bytes(data.begin(), data.begin() + 14));
            return true;
        }
        if (data.size() > 16) {
            return refuse("Program row of more than 16 bytes");
        }
        if (!data.empty()) {
            addRow(area * 0x10000 + record[1] * 256U + record[2], data);
        }
        return true;
    }

    bool refuse(const std::string& reason)
    {
        refusal = "Error: " + reason + "\n";
        return false;
    }

    void addRow(std::uint32_t address, const Bytes& data)
    {
        if (rows.empty()) {
            blockAddress = address;
        } else if (address != blockAddress + rows.size() && warnings.empty()) {
            char line[200];
            std::snprintf(
                line, sizeof(line),
                "Warning: the program row at %08X does not follow the one before it; rows "
                "are sent in the order of the file and lie one behind the other in a "
                "block, whatever their addresses\n",
                address);
            warnings = line;
        }
        hasRows = true;
        rows.insert(rows.end(), data.begin(), data.end());
        fillTo((rows.size() + 15) / 16 * 16);
        if (rows.size() == 64) {
            endBlock(isGps);
        }
    }

    void fillTo(std::size_t size)
    {
        while (rows.size() < size) {
            rows.push_back(rows.size() % 2 == 0 ? 0xFF : 0x3F);
        }
    }

    void endBlock(bool swaps)
    {
        fillTo(64);
        Bytes block{static_cast<std::uint8_t>(blockAddress >> 24),
                    static_cast<std::uint8_t>(blockAddress >> 16),
                    static_cast<std::uint8_t>(blockAddress >> 8),
                    static_cast<std::uint8_t>(blockAddress)};
        for (std::size_t i = 0; i < rows.size(); i += 2) {
            const bool isSwapped = swaps && rows[i] == 0x3F && rows[i + 1] == 0xFF;
            block.push_back(isSwapped ? 0xFF : rows[i]);
            block.push_back(isSwapped ? 0x3F : rows[i + 1]);
        }
        std::uint8_t checksum = 0;
        for (const std::uint8_t byte : block) {
            checksum = static_cast<std::uint8_t>(checksum - byte);
        }
        block.push_back(checksum);
        commands += commandLine(4, block);
        rows.clear();
    }

    const bool isGps;
    std::uint32_t area = 0; ///< the upper 16 bits of addresses
    int lineCounter = 0;
    bool hasRows = false;
    std::uint32_t blockAddress = 0;
    Bytes rows; ///< of a block, those that were not sent
};

} // namespace

bool MoxArmControl::Pic_Update_Comm_Tx(PicUpdateDevType /*device*/, PicUpdateCmdType command,
                                       int length, unsigned char* data)
{
    sent += commandLine(command, Bytes(data, data + length));
    return true;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 2) {
        return 0;
    }
    deliver(accepted);
    PicCommandChannel channel;
    channel.open();
    const PicDevice& device = allPicDevices()[data[0] % allPicDevices().size()];
    std::string text = toText(data + 1, size - 1);
    const FileStream file(fmemopen(text.data(), text.size(), "r"));
    const PlainUpdate plain(text, device);
    sent.clear();
    bool isAccepted = false;
    const std::string looked =
        capture([&] { isAccepted = lookThroughPicFile(file.get(), device); });
    expectSame(looked + sent, plain.refusal.empty() ? plain.warnings : plain.refusal);
    if (isAccepted != plain.refusal.empty()) {
        std::abort();
    }
    if (isAccepted) {
        std::int32_t lineCounter = 0;
        expectSame(capture([&] {
                       PicUpdate({channel, device, {1, 2, 3}, file.get(), lineCounter}).run();
                   }),
                   plain.printed);
        expectSame(sent, plain.commands);
    }
    return 0;
}
