// Writes the nine built-in level sounds and the bell as 16-bit mono PCM wave files into the
// folder given as the only argument. Everything is synthesised here, with
// nothing random, so that every build makes the same bytes.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <numbers>
#include <string>
#include <vector>

namespace {

constexpr int SampleRate = 22050;
constexpr double TwoPi = 2.0 * std::numbers::pi;
// Peak level after normalising: about -3 dB, so no sound can clip.
constexpr double Peak = 0.7;
// The buzzer's steady, rich tone sounds far louder than a decaying chime at the same peak.
constexpr double BuzzerPeak = 0.4;

using Samples = std::vector<double>;

double noteFrequency(int semitonesFromA4)
{
    return 440.0 * std::pow(2.0, semitonesFromA4 / 12.0);
}

// Soft attack and an exponential decay, with a short release so every note ends at zero.
double envelope(double t, double length, double attack, double decay)
{
    if (t < 0.0 || t >= length)
        return 0.0;
    const double rise = t < attack ? 0.5 - 0.5 * std::cos(std::numbers::pi * t / attack) : 1.0;
    const double release = std::min(0.05, length / 4);
    const double tail = length - t < release ? (length - t) / release : 1.0;
    return rise * std::exp(-t / decay) * tail;
}

struct Note
{
    double start;  // seconds
    double length; // seconds
    double freq;   // Hz at the start
    double glide;  // frequency factor reached at the end of the note
    double attack; // seconds
    double decay;  // time constant of the decay, seconds
    double gain;
    std::vector<double> partials; // amplitude of harmonics 1, 2, 3, ...
    double vibrato = 0.0;         // depth as a frequency factor
};

void addNote(Samples &out, const Note &note)
{
    const auto first = static_cast<std::size_t>(note.start * SampleRate);
    const auto count = static_cast<std::size_t>(note.length * SampleRate);
    double phase = 0.0;
    for (std::size_t i = 0; i < count && first + i < out.size(); ++i) {
        const double t = static_cast<double>(i) / SampleRate;
        const double progress = t / note.length;
        double freq = note.freq * std::pow(note.glide, progress);
        freq *= 1.0 + note.vibrato * std::sin(TwoPi * 5.0 * t);
        phase += TwoPi * freq / SampleRate;
        double value = 0.0;
        for (std::size_t h = 0; h < note.partials.size(); ++h) {
            // Harmonics above the Nyquist limit would fold back as noise.
            if (freq * static_cast<double>(h + 1) < SampleRate / 2.0)
                value += note.partials[h] * std::sin(phase * static_cast<double>(h + 1));
        }
        out[first + i] += note.gain * envelope(t, note.length, note.attack, note.decay) * value;
    }
}

const std::vector<double> Bell = {1.0, 0.0, 0.35, 0.0, 0.12};
const std::vector<double> Soft = {1.0, 0.3, 0.1};
const std::vector<double> Voice = {1.0, 0.5, 0.35, 0.2, 0.12, 0.06};
const std::vector<double> Reed = {1.0, 0.0, 0.33, 0.0, 0.2, 0.0, 0.14, 0.0, 0.11};

Samples beamup()
{
    Samples s(static_cast<std::size_t>(1.2 * SampleRate));
    addNote(s, {0.0, 1.2, 330.0, 4.0, 0.08, 0.8, 1.0, Soft, 0.01});
    addNote(s, {0.1, 1.1, 495.0, 4.0, 0.08, 0.7, 0.5, Soft, 0.01});
    return s;
}

Samples buzzer()
{
    Samples s(static_cast<std::size_t>(0.9 * SampleRate));
    addNote(s, {0.0, 0.35, 196.0, 1.0, 0.02, 2.0, 1.0, Reed});
    addNote(s, {0.45, 0.45, 196.0, 1.0, 0.02, 2.0, 1.0, Reed});
    return s;
}

Samples choir()
{
    Samples s(static_cast<std::size_t>(2.0 * SampleRate));
    for (int step : {-12, -8, -5, 0})
        addNote(s, {0.0, 2.0, noteFrequency(step), 1.0, 0.4, 3.0, 1.0, Voice, 0.006});
    return s;
}

Samples comfortable()
{
    Samples s(static_cast<std::size_t>(1.5 * SampleRate));
    addNote(s, {0.0, 1.0, noteFrequency(7), 1.0, 0.01, 0.4, 1.0, Bell});
    addNote(s, {0.35, 1.15, noteFrequency(3), 1.0, 0.01, 0.5, 1.0, Bell});
    return s;
}

Samples darkTechnology()
{
    Samples s(static_cast<std::size_t>(1.6 * SampleRate));
    for (int step : {-24, -21, -17})
        addNote(s, {0.0, 1.6, noteFrequency(step), 1.0, 0.15, 1.2, 1.0, Reed, 0.003});
    addNote(s, {0.3, 1.3, noteFrequency(-5), 0.5, 0.1, 0.6, 0.6, Soft});
    return s;
}

Samples newsFlash()
{
    Samples s(static_cast<std::size_t>(1.2 * SampleRate));
    const int steps[] = {3, 7, 10, 15};
    for (int i = 0; i < 4; ++i)
        addNote(s, {0.12 * i, 1.2 - 0.12 * i, noteFrequency(steps[i]), 1.0, 0.01, 0.3, 1.0, Bell});
    return s;
}

Samples revelation()
{
    Samples s(static_cast<std::size_t>(2.0 * SampleRate));
    for (int step : {-9, -5, -2, 2})
        addNote(s, {0.0, 2.0, noteFrequency(step), 1.0, 0.6, 2.5, 1.0, Soft, 0.004});
    addNote(s, {0.8, 1.2, noteFrequency(14), 1.0, 0.01, 0.5, 0.8, Bell});
    return s;
}

Samples slowAndSerious()
{
    Samples s(static_cast<std::size_t>(2.0 * SampleRate));
    const int steps[] = {-14, -16, -19};
    for (int i = 0; i < 3; ++i)
        addNote(s, {0.6 * i, 2.0 - 0.6 * i, noteFrequency(steps[i]), 1.0, 0.05, 0.6, 1.0, Voice});
    return s;
}

Samples update()
{
    Samples s(static_cast<std::size_t>(0.8 * SampleRate));
    addNote(s, {0.0, 0.8, noteFrequency(10), 1.0, 0.005, 0.25, 1.0, Bell});
    addNote(s, {0.15, 0.65, noteFrequency(15), 1.0, 0.005, 0.3, 1.0, Bell});
    return s;
}

// The system beep where the desktop has no sound theme: one short, bright strike.
Samples bell()
{
    Samples s(static_cast<std::size_t>(0.6 * SampleRate));
    addNote(s, {0.0, 0.6, noteFrequency(15), 1.0, 0.003, 0.15, 1.0, Bell});
    return s;
}

void put16(std::string &out, int value)
{
    out += static_cast<char>(value & 0xff);
    out += static_cast<char>((value >> 8) & 0xff);
}

void put32(std::string &out, std::uint32_t value)
{
    for (int shift = 0; shift < 32; shift += 8)
        out += static_cast<char>((value >> shift) & 0xff);
}

std::string waveFile(const Samples &samples, double peak)
{
    double loudest = 0.0;
    for (double v : samples)
        loudest = std::max(loudest, std::abs(v));
    const double scale = loudest > 0.0 ? peak / loudest : 0.0;

    const auto dataSize = static_cast<std::uint32_t>(samples.size() * 2);
    std::string out = "RIFF";
    put32(out, 36 + dataSize);
    out += "WAVEfmt ";
    put32(out, 16);
    put16(out, 1); // PCM
    put16(out, 1); // mono
    put32(out, SampleRate);
    put32(out, SampleRate * 2);
    put16(out, 2);
    put16(out, 16);
    out += "data";
    put32(out, dataSize);
    for (double v : samples)
        put16(out, static_cast<int>(std::lround(v * scale * 32767.0)));
    return out;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: gensounds <output folder>\n");
        return 2;
    }
    const std::string folder = argv[1];
    struct Sound
    {
        const char *name;
        Samples (*make)();
        double peak;
    };
    const Sound sounds[] = {
        {"Beamup.wav", beamup, Peak},
        {"Buzzer.wav", buzzer, BuzzerPeak},
        {"Choir.wav", choir, Peak},
        {"Comfortable.wav", comfortable, Peak},
        {"Dark-Technology.wav", darkTechnology, Peak},
        {"NewsFlash.wav", newsFlash, Peak},
        {"Revelation.wav", revelation, Peak},
        {"Slow-and-Serious.wav", slowAndSerious, Peak},
        {"Update.wav", update, Peak},
        {"Bell.wav", bell, Peak},
    };
    for (const Sound &sound : sounds) {
        const std::string path = folder + "/" + sound.name;
        std::ofstream file(path, std::ios::binary | std::ios::trunc);
        const std::string bytes = waveFile(sound.make(), sound.peak);
        file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        if (!file) {
            std::fprintf(stderr, "gensounds: cannot write %s\n", path.c_str());
            return 1;
        }
    }
    return 0;
}
