#include "tools/sample-take/Script.h"

namespace kelmo {

const std::vector<ScriptLine>& talkScript()
{
    static const std::vector<ScriptLine> script = {
        {QStringLiteral("Hi. Um, is this working?"), 950, 0, 0},
        {QStringLiteral("No way. It is."), 420, 0, 1},
        {QStringLiteral("Good. So, today I want to show you a, uh, slightly lazy way to edit a talk."), 850, 0, 2},

        {QStringLiteral("Here is the old way."), 300, 1, 0},
        {QStringLiteral("You record for ten minutes."), 220, 1, 1},
        {QStringLiteral("Then you spend an hour staring at a waveform, hunting down every cough."), 260, 1, 2},
        {QStringLiteral("Er, I used to know mine by heart."), 900, 1, 3},

        {QStringLiteral("Now, look at this page."), 280, 2, 0},
        {QStringLiteral("It is the same talk, only written down, and every word knows when it was said."), 320, 2, 1},
        {QStringLiteral("So when I strike out a word, um, like that one, the picture and the sound lose it too."), 1150,
            2, 2},
        {QStringLiteral("Hmm, that felt good. Let's do another one."), 480, 2, 3},

        {QStringLiteral("Under the hood it is, uh, almost embarrassingly small."), 380, 3, 0},
        {QStringLiteral("A cut is just a pair of times: where the silence starts, and where the next word begins."),
            300, 3, 1},
        {QStringLiteral("We keep everything else, and play the pieces in a row."), 950, 3, 2},
        {QStringLiteral("Nothing is ever thrown away, so you can, er, always change your mind."), 520, 3, 3},

        {QStringLiteral("Does it save any time?"), 800, 4, 0},
        {QStringLiteral("I measured my last four talks."), 240, 4, 1},
        {QStringLiteral("With the timeline, about an hour each. With the words, uh, eleven minutes."), 850, 4, 2},
        {QStringLiteral("Eleven. I had to check twice."), 450, 4, 3},

        {QStringLiteral("So here is my whole advice."), 350, 5, 0},
        {QStringLiteral("Talk first, and don't worry about mistakes."), 320, 5, 1},
        {QStringLiteral("Then read it through, once, like a letter from a friend."), 320, 5, 2},
        {QStringLiteral("And, um, delete the boring bits."), 1050, 5, 3},
        {QStringLiteral("That's all. Thank you, and happy cutting!"), 600, 5, 4},
    };
    return script;
}

} // namespace kelmo
