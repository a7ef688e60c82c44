#include "diagnostics/CPUAssembly.h"

#include "platform/Clock.h"

#include <cpuid.h>
#include <x86intrin.h>

#include <algorithm>
#include <cstring>
#include <string_view>

namespace tarn {

namespace {

constexpr std::string_view Intel = "GenuineIntel";
constexpr std::string_view AMD = "AuthenticAMD";
constexpr std::string_view Cyrix = "CyrixInstead";
constexpr std::string_view Centaur = "CentaurHauls";

// A range of models of one family, both with their extensions added as the makers define them.
struct ProcessorName {
    std::string_view vendor;
    std::uint32_t family;
    std::uint32_t firstModel;
    std::uint32_t lastModel;
    std::string_view name;
};

// The first row that fits counts.
constexpr ProcessorName ProcessorNames[] = {
    {Intel, 4, 0x00, 0x01, "INTEL 486DX"},
    {Intel, 4, 0x02, 0x02, "INTEL 486SX"},
    {Intel, 4, 0x03, 0x03, "INTEL 486DX2"},
    {Intel, 4, 0x04, 0x0F, "INTEL 486"},
    {Intel, 5, 0x04, 0x04, "INTEL Pentium MMX"},
    {Intel, 5, 0x08, 0x08, "INTEL Pentium MMX (mobile)"},
    {Intel, 5, 0x00, 0x07, "INTEL Pentium"},
    {Intel, 6, 0x00, 0x01, "INTEL Pentium Pro"},
    {Intel, 6, 0x03, 0x05, "INTEL Pentium II"},
    {Intel, 6, 0x06, 0x06, "INTEL Celeron"},
    {Intel, 6, 0x07, 0x08, "INTEL Pentium III"},
    {Intel, 6, 0x09, 0x09, "INTEL Pentium M"},
    {Intel, 6, 0x0A, 0x0B, "INTEL Pentium III"},
    {Intel, 6, 0x0D, 0x0D, "INTEL Pentium M"},
    {Intel, 6, 0x0E, 0x0E, "INTEL Core"},
    {Intel, 6, 0x0F, 0x0F, "INTEL Core 2"},
    {Intel, 6, 0x16, 0x17, "INTEL Core 2"},
    {Intel, 6, 0x1D, 0x1D, "INTEL Core 2"},
    {Intel, 6, 0x1A, 0x1A, "INTEL Core (Nehalem)"},
    {Intel, 6, 0x1E, 0x1F, "INTEL Core (Nehalem)"},
    {Intel, 6, 0x2E, 0x2E, "INTEL Core (Nehalem)"},
    {Intel, 6, 0x25, 0x25, "INTEL Core (Westmere)"},
    {Intel, 6, 0x2C, 0x2C, "INTEL Core (Westmere)"},
    {Intel, 6, 0x2F, 0x2F, "INTEL Core (Westmere)"},
    {Intel, 6, 0x2A, 0x2A, "INTEL Core (Sandy Bridge)"},
    {Intel, 6, 0x2D, 0x2D, "INTEL Core (Sandy Bridge)"},
    {Intel, 6, 0x3A, 0x3A, "INTEL Core (Ivy Bridge)"},
    {Intel, 6, 0x3E, 0x3E, "INTEL Core (Ivy Bridge)"},
    {Intel, 6, 0x3C, 0x3C, "INTEL Core (Haswell)"},
    {Intel, 6, 0x3F, 0x3F, "INTEL Core (Haswell)"},
    {Intel, 6, 0x45, 0x46, "INTEL Core (Haswell)"},
    {Intel, 6, 0x3D, 0x3D, "INTEL Core (Broadwell)"},
    {Intel, 6, 0x47, 0x47, "INTEL Core (Broadwell)"},
    {Intel, 6, 0x4F, 0x4F, "INTEL Core (Broadwell)"},
    {Intel, 6, 0x56, 0x56, "INTEL Core (Broadwell)"},
    {Intel, 6, 0x4E, 0x4E, "INTEL Core (Skylake)"},
    {Intel, 6, 0x55, 0x55, "INTEL Xeon (Skylake)"},
    {Intel, 6, 0x5E, 0x5E, "INTEL Core (Skylake)"},
    {Intel, 6, 0x8E, 0x8E, "INTEL Core (Kaby/Coffee Lake)"},
    {Intel, 6, 0x9E, 0x9E, "INTEL Core (Kaby/Coffee Lake)"},
    {Intel, 6, 0xA5, 0xA6, "INTEL Core (Comet Lake)"},
    {Intel, 6, 0x6A, 0x6C, "INTEL Xeon (Ice Lake)"},
    {Intel, 6, 0x7D, 0x7E, "INTEL Core (Ice Lake)"},
    {Intel, 6, 0x8C, 0x8D, "INTEL Core (Tiger Lake)"},
    {Intel, 6, 0xA7, 0xA7, "INTEL Core (Rocket Lake)"},
    {Intel, 6, 0x97, 0x97, "INTEL Core (Alder Lake)"},
    {Intel, 6, 0x9A, 0x9A, "INTEL Core (Alder Lake)"},
    {Intel, 6, 0xBE, 0xBE, "INTEL N-series (Alder Lake)"},
    {Intel, 6, 0xB7, 0xB7, "INTEL Core (Raptor Lake)"},
    {Intel, 6, 0xBA, 0xBA, "INTEL Core (Raptor Lake)"},
    {Intel, 6, 0xBF, 0xBF, "INTEL Core (Raptor Lake)"},
    {Intel, 6, 0xAA, 0xAC, "INTEL Core (Meteor Lake)"},
    {Intel, 6, 0xB5, 0xB5, "INTEL Core (Arrow Lake)"},
    {Intel, 6, 0xC5, 0xC6, "INTEL Core (Arrow Lake)"},
    {Intel, 6, 0xBD, 0xBD, "INTEL Core (Lunar Lake)"},
    {Intel, 6, 0xCC, 0xCC, "INTEL Core (Panther Lake)"},
    {Intel, 6, 0x8F, 0x8F, "INTEL Xeon (Sapphire Rapids)"},
    {Intel, 6, 0xCF, 0xCF, "INTEL Xeon (Emerald Rapids)"},
    {Intel, 6, 0xAD, 0xAE, "INTEL Xeon (Granite Rapids)"},
    {Intel, 6, 0x1C, 0x1C, "INTEL Atom"},
    {Intel, 6, 0x26, 0x27, "INTEL Atom"},
    {Intel, 6, 0x35, 0x36, "INTEL Atom"},
    {Intel, 6, 0x37, 0x37, "INTEL Atom (Silvermont)"},
    {Intel, 6, 0x4A, 0x4A, "INTEL Atom (Silvermont)"},
    {Intel, 6, 0x4C, 0x4D, "INTEL Atom (Silvermont)"},
    {Intel, 6, 0x5A, 0x5A, "INTEL Atom (Silvermont)"},
    {Intel, 6, 0x5C, 0x5C, "INTEL Atom (Goldmont)"},
    {Intel, 6, 0x5F, 0x5F, "INTEL Atom (Goldmont)"},
    {Intel, 6, 0x7A, 0x7A, "INTEL Atom (Goldmont)"},
    {Intel, 6, 0x8A, 0x8A, "INTEL Atom (Tremont)"},
    {Intel, 6, 0x96, 0x96, "INTEL Atom (Tremont)"},
    {Intel, 6, 0x9C, 0x9C, "INTEL Atom (Tremont)"},
    {Intel, 15, 0x00, 0x01, "INTEL Pentium IV (0.18)"},
    {Intel, 15, 0x02, 0x02, "INTEL Pentium IV (0.13)"},
    {Intel, 15, 0x03, 0x04, "INTEL Pentium IV (0.09)"},
    {Intel, 15, 0x06, 0x06, "INTEL Pentium IV (0.065)"},

    {AMD, 4, 0x03, 0x07, "AMD 486DX2"},
    {AMD, 4, 0x08, 0x09, "AMD 486DX4"},
    {AMD, 4, 0x0E, 0x0F, "AMD 5x86"},
    {AMD, 5, 0x00, 0x03, "AMD K5"},
    {AMD, 5, 0x06, 0x07, "AMD K6"},
    {AMD, 5, 0x08, 0x08, "AMD K6-2"},
    {AMD, 5, 0x09, 0x09, "AMD K6-III"},
    {AMD, 5, 0x0D, 0x0D, "AMD K6-2+"},
    {AMD, 6, 0x01, 0x02, "AMD Athlon"},
    {AMD, 6, 0x03, 0x03, "AMD Duron"},
    {AMD, 6, 0x04, 0x04, "AMD Athlon"},
    {AMD, 6, 0x06, 0x06, "AMD Athlon XP"},
    {AMD, 6, 0x07, 0x07, "AMD Duron"},
    {AMD, 6, 0x08, 0x0A, "AMD Athlon XP"},
    {AMD, 15, 0x05, 0x05, "AMD Opteron"},
    {AMD, 15, 0x00, 0xFF, "AMD Athlon 64"},
    {AMD, 16, 0x00, 0xFF, "AMD Phenom"},
    {AMD, 17, 0x00, 0xFF, "AMD Turion X2"},
    {AMD, 18, 0x00, 0xFF, "AMD A-series (Llano)"},
    {AMD, 20, 0x00, 0xFF, "AMD E-series (Bobcat)"},
    {AMD, 21, 0x00, 0x01, "AMD FX (Bulldozer)"},
    {AMD, 21, 0x02, 0x1F, "AMD FX (Piledriver)"},
    {AMD, 21, 0x30, 0x3F, "AMD A-series (Steamroller)"},
    {AMD, 21, 0x60, 0x7F, "AMD A-series (Excavator)"},
    {AMD, 22, 0x00, 0xFF, "AMD A-series (Jaguar)"},
    {AMD, 23, 0x08, 0x08, "AMD Ryzen (Zen+)"},
    {AMD, 23, 0x18, 0x18, "AMD Ryzen (Zen+)"},
    {AMD, 23, 0x00, 0x2F, "AMD Ryzen (Zen)"},
    {AMD, 23, 0x30, 0xFF, "AMD Ryzen (Zen 2)"},
    {AMD, 25, 0x10, 0x1F, "AMD Ryzen (Zen 4)"},
    {AMD, 25, 0x00, 0x5F, "AMD Ryzen (Zen 3)"},
    {AMD, 25, 0x60, 0xAF, "AMD Ryzen (Zen 4)"},
    {AMD, 26, 0x00, 0x4F, "AMD Ryzen (Zen 5)"},
    {AMD, 26, 0x60, 0x7F, "AMD Ryzen (Zen 5)"},

    {Cyrix, 4, 0x04, 0x04, "CYRIX MediaGX"},
    {Cyrix, 4, 0x09, 0x09, "CYRIX 5x86"},
    {Cyrix, 5, 0x02, 0x02, "CYRIX 6x86"},
    {Cyrix, 5, 0x04, 0x04, "CYRIX GXm"},
    {Cyrix, 6, 0x00, 0x00, "CYRIX 6x86MX"},
    {Cyrix, 6, 0x05, 0x05, "VIA Cyrix III"},

    {Centaur, 5, 0x04, 0x04, "IDT WinChip C6"},
    {Centaur, 5, 0x08, 0x08, "IDT WinChip 2"},
    {Centaur, 5, 0x09, 0x09, "IDT WinChip 3"},
    {Centaur, 6, 0x06, 0x09, "VIA C3"},
    {Centaur, 6, 0x0A, 0x0D, "VIA C7"},
    {Centaur, 6, 0x0F, 0x0F, "VIA Nano"},
};

static_assert(std::ranges::all_of(ProcessorNames,
                                  [](const ProcessorName& row) { return row.name.size() < 30; }));

// The fields of leaf 1's EAX.
constexpr std::uint32_t bits(std::uint32_t value, int first, int count) {
    return (value >> first) & ((1u << count) - 1);
}

std::string_view processorName(std::string_view vendor, std::uint32_t signature) {
    std::uint32_t family = bits(signature, 8, 4);
    std::uint32_t model = bits(signature, 4, 4);
    if (family == 6 || family == 15)
        model += bits(signature, 16, 4) << 4;
    if (family == 15)
        family += bits(signature, 20, 8);
    const auto* row = std::ranges::find_if(ProcessorNames, [&](const ProcessorName& name) {
        return name.vendor == vendor && name.family == family && name.firstModel <= model &&
               model <= name.lastModel;
    });
    return row != std::end(ProcessorNames) ? row->name : "unknown";
}

CPUIDRegisters readLeaf(std::uint32_t leaf) {
    CPUIDRegisters registers;
    __cpuid(leaf, registers.eax, registers.ebx, registers.ecx, registers.edx);
    return registers;
}

}  // namespace

CPUIDLeaves CPUIDLeaves::read() {
    constexpr std::uint32_t ExtendedLeaves = 0x80000000;
    CPUIDLeaves leaves;
    leaves.vendor = readLeaf(0);
    leaves.signature = readLeaf(1);
    if (readLeaf(ExtendedLeaves).eax > ExtendedLeaves)
        leaves.extendedFeatures = readLeaf(ExtendedLeaves + 1);
    return leaves;
}

void CPUAssembly::identify() {
    identify(CPUIDLeaves::read());
    speed_ = measureSpeed();
}

void CPUAssembly::identify(const CPUIDLeaves& leaves) {
    *this = CPUAssembly();
    std::memcpy(vendor_.data(), &leaves.vendor.ebx, 4);
    std::memcpy(vendor_.data() + 4, &leaves.vendor.edx, 4);
    std::memcpy(vendor_.data() + 8, &leaves.vendor.ecx, 4);

    const std::uint32_t signature = leaves.signature.eax;
    stepping_ = static_cast<std::uint16_t>(bits(signature, 0, 4));
    modelNumber_ = static_cast<std::uint16_t>(bits(signature, 4, 4));
    family_ = static_cast<std::uint16_t>(bits(signature, 8, 4));
    if (modelNumber_ == 15)
        extendedModel_ = static_cast<std::uint16_t>(bits(signature, 16, 4));
    if (family_ == 15)
        extendedFamily_ = static_cast<std::uint16_t>(bits(signature, 20, 8) << 4);

    features_ = (bits(leaves.signature.edx, 23, 1) ? MMX : 0u) |
                (bits(leaves.extendedFeatures.edx, 31, 1) ? ThreeDNow : 0u) |
                (bits(leaves.signature.edx, 25, 1) ? SSE : 0u) |
                (bits(leaves.signature.edx, 26, 1) ? SSE2 : 0u);
    processorName(vendor_.data(), signature).copy(model_.data(), model_.size() - 1);
}

std::uint64_t CPUAssembly::measureSpeed() {
    // A whole second would hold the host up. The system's clock, since a test's may stand still.
    constexpr double Part = 0.02;  // seconds
    const double start = platform::systemHighResolutionSeconds();
    const std::uint64_t firstTick = __rdtsc();
    double elapsed = 0.0;
    while (elapsed < Part)
        elapsed = platform::systemHighResolutionSeconds() - start;
    return static_cast<std::uint64_t>(static_cast<double>(__rdtsc() - firstTick) / elapsed);
}

std::string CPUAssembly::getSpeedMHz() const {
    return std::to_string((speed_ + 500'000) / 1'000'000);
}

}  // namespace tarn
