#include "Chat/KnownServices.h"

namespace corvid {

using namespace Qt::Literals::StringLiterals;

std::vector<KnownService> knownServices() {
    return {
        {u"OpenAI"_s, u"https://api.openai.com/v1"_s},
        {u"OpenRouter"_s, u"https://openrouter.ai/api/v1"_s},
        {u"Ollama"_s, u"http://localhost:11434/v1"_s, 11434},
        {u"LM Studio"_s, u"http://localhost:1234/v1"_s, 1234},
        {u"Groq"_s, u"https://api.groq.com/openai/v1"_s},
    };
}

} // namespace corvid
