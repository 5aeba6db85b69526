"""What can be said of figures that were taken in turns: their middle, their spread, and whether one
program's differ from another's."""
import math
import statistics

STEADY = 1.25  # a sitting whose floors drift by more than this says nothing
CHANCE = 0.01  # what chance would do more seldom than this is no chance


def quantile(samples, part):
    return sorted(samples)[min(len(samples) - 1, int(len(samples) * part))]


def spread(samples):
    return {"p50": statistics.median(samples), "p5": quantile(samples, 0.05),
            "p95": quantile(samples, 0.95)}


def column(turns, what, which):
    """One figure's samples, a list for each turn that has any."""
    lists = ([sample[which] for sample in turn.get(what, [])] for turn in turns)
    return [samples for samples in lists if samples]


def flat(turns):
    return [sample for turn in turns for sample in turn]


def is_steady(turns):
    """Whether the two halves of a sitting tell the same; None with less than two turns."""
    if len(turns) < 2:
        return None
    half = len(turns) // 2
    middles = sorted(statistics.median(flat(part)) for part in (turns[:half], turns[half:]))
    return middles[1] <= STEADY * middles[0]


def verdict(before, after):
    """before, after: turns that were taken alternately, less being better. A sign test: how often
    did the one beat the other that it alternated with, and would chance do that?"""
    if not is_steady(before):
        return "cannot tell"
    pairs = [(statistics.median(a), statistics.median(b)) for a, b in zip(before, after)]
    wins, losses = sum(b < a for a, b in pairs), sum(b > a for a, b in pairs)
    if wins == losses == 0:
        return "same"
    all_ = wins + losses
    by_chance = 2 * sum(math.comb(all_, k) for k in range(max(wins, losses), all_ + 1)) / 2**all_
    if by_chance >= CHANCE:
        return "cannot tell"
    return "better" if wins > losses else "worse"
