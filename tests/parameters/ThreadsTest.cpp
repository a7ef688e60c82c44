// The host's automation, the interface and MIDI change the same parameters at once.
#include "parameters/Definition.h"
#include "parameters/MidiMapper.h"
#include "parameters/ParameterEnum.h"
#include "parameters/ParameterText.h"

#include <thread>
#include <vector>

namespace tarn {
namespace {

// Keeps what it heard last.
class Last : public Radio {
public:
    explicit Last(Parameter& station) : Radio(nullptr), isText_(station.getType() == 4) {
        tuneIn(&station);
    }
    ~Last() override { disconnect(); }
    bool receive(Message& message) override {
        if (isText_)
            text = fromPayload<const char*>(message.payload);
        else
            value = static_cast<ParameterMessage&>(message).value;
        return false;
    }

    float value = 0.0f;
    std::string text;

private:
    bool isText_;
};

// Faults: a race; a listener whose last message carries another value than the parameter's.
TEST(Threads, EachListenersLastMessageIsTrue) {
    Modules modules;
    Defined settings(
        "<F class='ParameterValue' type='float'/><T class='ParameterText'/>"
        "<E class='ParameterEnum' type='integer'><values><v/><v/><v/></values></E>",
        modules.getModule(0));
    modules.getModule(0)->setSettings(&settings);
    MidiMapper<Parameter*> mapper(nullptr, 1e7);
    const std::vector<Parameter*> all{&settings.get("F"), &settings.get("E"), &settings.get("T")};
    for (int round = 0; round < 20; ++round) {
        std::vector<std::unique_ptr<Last>> lasting;
        for (Parameter* const parameter : all)
            for (int i = 0; i < 3; ++i)
                lasting.push_back(std::make_unique<Last>(*parameter));
        const auto inThread = [&](auto change) {
            return std::thread([&, change] {
                for (int i = 0; i < 100; ++i)
                    change(static_cast<float>((i * 37 + round) % 101) / 101.0f, i);
            });
        };
        std::thread threads[] = {
            inThread([&](float value, int) {
                settings.get("F").setNormalised(value, FromHost);
                settings.get("E").setNormalised(value, FromHost);
            }),
            inThread([&](float value, int i) {
                settings.get<ParameterValue<float>>("F").setDisplayValue(value, FromUser);
                settings.get("T").setText(std::string(30 + i, 'u'), FromUser);
            }),
            inThread([&](float value, int i) {
                mapper.bind(i % 2, all[static_cast<std::size_t>(i % 2)]);
                applyController(mapper, modules, i % 2, value, i, 512);
            }),
            inThread([&](float, int i) {
                const Last passing(*all[static_cast<std::size_t>(i % 3)]);
                settings.get("T").setText(std::string(30 + i, 'x'), FromInternal);
                settings.get("T").getText();
            })};
        for (std::thread& thread : threads)
            thread.join();
        for (std::size_t i = 0; i < lasting.size(); ++i) {
            ASSERT_EQ(lasting[i]->value, all[i / 3]->getNormalised());
            ASSERT_EQ(lasting[i]->text, i < 6 ? "" : all[2]->getText());
        }
    }
}

}  // namespace
}  // namespace tarn
