// The texts of refusals, in log lines.
#include "refusal.h"

#include "recording/enum_names.h"

namespace Simulator {

std::string textOf(Refusal refusal) {
    static constexpr Recording::Named<Refusal> kTexts[] = {
        {Refusal::NO_IDENTITY, "it does not say which client it is"},
        {Refusal::DEAD, "it is dead"},
        {Refusal::TOO_MANY_CLIENTS, "there are too many clients"},
        {Refusal::TOO_MANY_DESCRIPTORS, "its process has too many descriptors here"},
        {Refusal::IS_KNOWN, "it has a place already"},
        {Refusal::ID_IS_TAKEN, "another client has its id"},
        {Refusal::NO_MEMORY, "there is no memory for its queue"},
        {Refusal::NO_THREAD, "there is no thread for its queue"},
        {Refusal::QUEUE_NOT_MAPPED, "its queue cannot be mapped"},
        {Refusal::QUEUE_SIZE, "its queue is empty or too large"},
        {Refusal::EVENT_FLAG_NOT_MAPPED, "its event flag cannot be mapped"},
        {Refusal::EVENT_FLAG_BITS, "its event-flag bits are not two single bits"},
    };
    return Recording::nameIn(kTexts, refusal);
}

}  // namespace Simulator
