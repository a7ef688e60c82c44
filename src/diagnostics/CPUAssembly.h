// Which processor runs this: its name, speed and vector instructions, for the log and for display.
#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace tarn {

class ICPUInfo {
public:
    /// Asks the processor, and measures its speed; the rest answers nothing before. Some 20 ms.
    virtual void identify() = 0;

    /// Ticks of the time stamp counter in one second.
    virtual std::uint64_t measureSpeed() = 0;

    virtual std::string getSpeedMHz() const = 0;

    /// As CPUID tells it, "GenuineIntel".
    virtual const char* getVendor() const = 0;

    /// At most 29 letters; "unknown" for a processor that isn't in the table.
    virtual const char* getModel() const = 0;

    virtual bool hasMMX() const = 0;
    virtual bool has3DNow() const = 0;
    virtual bool hasSSE() const = 0;
    virtual bool hasSSE2() const = 0;

    /// Bit 0 MMX, bit 1 3DNow!, bit 2 SSE, bit 3 SSE2.
    virtual std::uint32_t getFeatures() const = 0;

    virtual ~ICPUInfo() = default;
};

/// What CPUID answers for one leaf.
struct CPUIDRegisters {
    std::uint32_t eax = 0;
    std::uint32_t ebx = 0;
    std::uint32_t ecx = 0;
    std::uint32_t edx = 0;
};

/// The leaves that identify a processor; one that it lacks is all 0.
struct CPUIDLeaves {
    CPUIDRegisters vendor;            // 0
    CPUIDRegisters signature;         // 1
    CPUIDRegisters extendedFeatures;  // 0x80000001

    /// Those of this processor.
    static CPUIDLeaves read();
};

class CPUAssembly : public ICPUInfo {
public:
    void identify() override;

    /// All but the speed, which becomes 0, from the answers of any processor.
    void identify(const CPUIDLeaves& leaves);

    std::uint64_t measureSpeed() override;

    std::string getSpeedMHz() const override;
    const char* getVendor() const override { return vendor_.data(); }
    const char* getModel() const override { return model_.data(); }
    bool hasMMX() const override { return (features_ & MMX) != 0; }
    bool has3DNow() const override { return (features_ & ThreeDNow) != 0; }
    bool hasSSE() const override { return (features_ & SSE) != 0; }
    bool hasSSE2() const override { return (features_ & SSE2) != 0; }
    std::uint32_t getFeatures() const override { return features_; }

    std::uint16_t getFamily() const { return family_; }
    std::uint16_t getModelNumber() const { return modelNumber_; }
    std::uint16_t getStepping() const { return stepping_; }

    /// Shifted by four bits; 0 unless the family is 15.
    std::uint16_t getExtendedFamily() const { return extendedFamily_; }

    /// 0 unless the model is 15.
    std::uint16_t getExtendedModel() const { return extendedModel_; }

private:
    enum Feature : std::uint32_t { MMX = 1, ThreeDNow = 2, SSE = 4, SSE2 = 8 };

    std::array<char, 13> vendor_{};
    std::array<char, 30> model_{};
    std::uint64_t speed_ = 0;  // ticks in one second
    std::uint16_t family_ = 0;
    std::uint16_t modelNumber_ = 0;
    std::uint16_t stepping_ = 0;
    std::uint16_t extendedFamily_ = 0;
    std::uint16_t extendedModel_ = 0;
    std::uint32_t features_ = 0;
};

}  // namespace tarn
