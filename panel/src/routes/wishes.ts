// What is shown of wishes for a destination: what went wrong, what is under way, what I have staged.
import type { OpenWish, StageRow } from '../api/types';
import { NO_SOURCE, type RouterState } from '../live/router_topic';
import { inSeconds } from '../texts/clock';
import type { Circumstances } from './fact';
import { isLinkLost, lostOnTheWay } from './lost';
import type { Mark } from './marks';
import { sourceName } from './names';
import { problemWords, wentWrong } from './outcome';

export type WishShown = {
  readonly source: number; // an index or NO_SOURCE: where its mark stands
  readonly sourceName: string;
  readonly mark: Mark;
  readonly words: string;
  readonly by: string; // a person's name
};

const indexOf = (source: number | null) => source ?? NO_SOURCE;

function openWords(
  { speech, now }: Circumstances,
  wish: OpenWish,
): Pick<WishShown, 'mark' | 'words'> {
  if (wish.state !== 'sent') return { mark: 'queued', words: speech.say('queued') };
  const sent = Date.parse(wish.sent ?? wish.wished);
  return {
    mark: 'sent',
    words: speech.say('sent', { time: inSeconds(speech, Math.max(0, now - sent)) }),
  };
}

// The gravest first; at one crossing the first is shown.
export function wishesShown(
  state: RouterState,
  row: StageRow | undefined,
  destination: number,
  circumstances: Circumstances,
): readonly WishShown[] {
  const { speech } = circumstances;
  const shown: WishShown[] = [];
  const add = (
    source: number | null,
    told: string | undefined,
    by: string,
    rest: Pick<WishShown, 'mark' | 'words'>,
  ) => {
    const index = indexOf(source);
    shown.push({ source: index, sourceName: sourceName(speech, state, index, told), by, ...rest });
  };
  const problem = state.problems.get(destination);
  const words = problem === undefined ? undefined : problemWords(speech, problem);
  if (problem !== undefined && words !== undefined)
    add(problem.source, problem.sourceName, problem.person.name, words);
  const staged = row === undefined ? undefined : row.changed ? 'changed' : 'staged';
  const wish = state.wishes.get(destination);
  if (row !== undefined && staged === 'changed')
    add(row.source, row.sourceName, '', { mark: staged, words: speech.say(staged) });
  if (wish !== undefined)
    add(
      wish.source,
      wish.sourceName,
      wish.person.name,
      isLinkLost(state.router)
        ? wentWrong(speech, lostOnTheWay(speech.say))
        : openWords(circumstances, wish),
    );
  if (row !== undefined && staged === 'staged')
    add(row.source, row.sourceName, '', { mark: staged, words: speech.say(staged) });
  return shown;
}
