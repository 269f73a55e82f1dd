// A project's answers as they are edited: fields of text become what the collector takes.

import { briefly } from './json';
import type { LinkAnswer } from './report_types';

/** The fields of a link's answer, as text; an empty one is left out. */
export const answerFields = [
  ['campaign', 'Campaign'],
  ['media_source', 'Media source'],
  ['match_method', 'Match method'],
  ['match_confidence', 'Confidence'],
  ['link_id', 'Link id'],
  ['target_path', 'Target path'],
] as const;

export type AnswerField = (typeof answerFields)[number][0];
export type AnswerTexts = Record<AnswerField, string>;

export function textsOf(answer: LinkAnswer | null): AnswerTexts {
  return {
    campaign: answer?.campaign ?? '',
    media_source: answer?.media_source ?? '',
    match_method: answer?.match_method ?? '',
    match_confidence: answer?.match_confidence === undefined ? '' : briefly(answer.match_confidence),
    link_id: answer?.link?.id ?? '',
    target_path: answer?.link?.target_path ?? '',
  };
}

export function answerOf(texts: AnswerTexts): LinkAnswer {
  const confidence = texts.match_confidence.trim();
  const link = {
    ...(texts.link_id === '' ? {} : { id: texts.link_id }),
    ...(texts.target_path === '' ? {} : { target_path: texts.target_path }),
  };
  if (confidence !== '' && !Number.isFinite(Number(confidence)))
    throw new Error('Confidence must be a number');
  return {
    ...(texts.match_method === '' ? {} : { match_method: texts.match_method }),
    ...(confidence === '' ? {} : { match_confidence: Number(confidence) }),
    ...(texts.campaign === '' ? {} : { campaign: texts.campaign }),
    ...(texts.media_source === '' ? {} : { media_source: texts.media_source }),
    ...(Object.keys(link).length === 0 ? {} : { link }),
  };
}
