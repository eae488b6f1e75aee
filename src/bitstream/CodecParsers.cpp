#include <base/LogModules.h>
#include <lx2/LX2StreamParser.h>

#include <iterator>

namespace lx2 {

constexpr LogModule kLog = kStreamLog;

namespace {

constexpr const char* kAvcNames[] = {
    "UNKOWN",  // the misspelling is what log readers look for
    "NON_IDR", "SLICE", "SLICE", "SLICE", "IDR", "SEI", "SPS", "PPS", "AUD", "EOSEQ",
};

constexpr const char* kHevcNames[] = {
    "TRAIL",   "TRAIL",   "TSA",     "TSA",     "STSA",    "STSA", "RADL",    "RADL",    "RASL",
    "RASL",    "VCL",     "VCL",     "VCL",     "VCL",     "VCL",  "VCL",     "BLA",     "BLA",
    "BLA",     "IDR",     "IDR",     "CRA",     "IRAP",    "IRAP", "UNKNOWN", "UNKNOWN", "UNKNOWN",
    "UNKNOWN", "UNKNOWN", "UNKNOWN", "UNKNOWN", "UNKNOWN", "VPS",  "SPS",     "PPS",     "AUD",
    "EOS",     "EOB",     "FD",      "SEI-P",   "S-SEI",
};
static_assert(std::size(kAvcNames) == 11 && std::size(kHevcNames) == 41);

bool IsAvcHeader(uint32_t type) {
    return type == 7 || type == 8;
}

bool IsHevcHeader(uint32_t type) {
    return type >= 32 && type <= 34;
}

template <class Parser>
LX2Status FindNALOf(const char* codec, const uint8_t* buf, uint32_t size, uint32_t* nalSize,
                    uint16_t* type, uint16_t* nextType) {
    const LX2Status status = _FindNAL(buf, size, nalSize, type, nextType, Parser::ExtractNalType);
    if (status == C2_OK)
        LX2_LOGT("%s: Found NAL [%s][%u bytes][next=%s]", codec, Parser::NalTypeStr(*type),
                 *nalSize, Parser::NalTypeStr(*nextType));
    return status;
}

template <class Parser>
LX2Status FindHeadersOf(const char* codec, const uint8_t* buf, uint32_t size, uint32_t* headerSize,
                        bool (*isHeader)(uint32_t)) {
    const LX2Status status =
        _FindHeaders(buf, size, headerSize, isHeader, Parser::ExtractNalType, Parser::NalTypeStr);
    if (status == C2_OK)
        LX2_LOGD("%s: found header of size %u bytes", codec, *headerSize);
    return status;
}

template <class Parser>
LX2Status FindCodecConfigOf(const uint8_t* buf, uint32_t size, uint32_t* configSize,
                            bool (*isHeader)(uint32_t)) {
    if (buf == nullptr || configSize == nullptr)
        return LX2_BAD_ARG;
    *configSize = 0;
    bool found = false;
    for (const LX2NalUnit& unit : LX2NalUnits<Parser>(buf, size)) {
        if (*configSize != 0 && !isHeader(unit.type))
            break;
        found = found || isHeader(unit.type);
        *configSize = unit.offset + unit.size;
    }
    if (!found)
        *configSize = 0;
    return found ? C2_OK : C2_NOT_FOUND;
}

}  // namespace

LX2Status LX2AVCStreamParser::FindNAL(const uint8_t* buf, uint32_t size, uint32_t* nalSize,
                                      uint16_t* type, uint16_t* nextType) {
    return FindNALOf<LX2AVCStreamParser>("AVC", buf, size, nalSize, type, nextType);
}

LX2Status LX2AVCStreamParser::FindHeaders(const uint8_t* buf, uint32_t size, uint32_t* headerSize) {
    return FindHeadersOf<LX2AVCStreamParser>("AVC", buf, size, headerSize, IsAvcHeader);
}

LX2Status LX2AVCStreamParser::FindCodecConfig(const uint8_t* buf, uint32_t size,
                                              uint32_t* configSize) {
    return FindCodecConfigOf<LX2AVCStreamParser>(buf, size, configSize, IsAvcHeader);
}

uint16_t LX2AVCStreamParser::ExtractNalType(uint16_t header) {
    return header >> 8 & 0x1F;
}

const char* LX2AVCStreamParser::NalTypeStr(uint16_t type) {
    return type < std::size(kAvcNames) ? kAvcNames[type] : kAvcNames[0];
}

LX2Status LX2HEVCStreamParser::FindNAL(const uint8_t* buf, uint32_t size, uint32_t* nalSize,
                                       uint16_t* type, uint16_t* nextType) {
    return FindNALOf<LX2HEVCStreamParser>("HEVC", buf, size, nalSize, type, nextType);
}

LX2Status LX2HEVCStreamParser::FindHeaders(const uint8_t* buf, uint32_t size,
                                           uint32_t* headerSize) {
    return FindHeadersOf<LX2HEVCStreamParser>("HEVC", buf, size, headerSize, IsHevcHeader);
}

LX2Status LX2HEVCStreamParser::FindCodecConfig(const uint8_t* buf, uint32_t size,
                                               uint32_t* configSize) {
    return FindCodecConfigOf<LX2HEVCStreamParser>(buf, size, configSize, IsHevcHeader);
}

uint16_t LX2HEVCStreamParser::ExtractNalType(uint16_t header) {
    return header >> 9 & 0x3F;
}

const char* LX2HEVCStreamParser::NalTypeStr(uint16_t type) {
    return type < std::size(kHevcNames) ? kHevcNames[type] : "UNKNOWN";
}

}  // namespace lx2
