/** Remembers the way that led to a screen, with whatever is noted at each step of it (`at`). */
export class Trail {
  steps = [];

  get at() {
    return this.steps.at(-1);
  }

  /**
   * Goes to a screen and tells from where it seems to come: 'forward', 'back', 'up' for one that covers all,
   * 'left' and 'right' for pages, null at the start. Going back finds the step as it was left.
   */
  go(key, { presentation, pages }) {
    const before = this.at;
    const known = this.steps.findLastIndex((step) => step.key === key);
    const step = known >= 0 ? this.steps[known] : { key, page: pages?.index };
    if (presentation === 'root') {
      this.steps = [step];
      return before ? 'back' : null;
    }
    if (known >= 0) {
      this.steps.length = known + 1;
      return 'back';
    }
    const turned = before && pages && before.page !== undefined;
    if (turned) this.steps.pop();
    this.steps.push(step);
    if (turned) return pages.index > before.page ? 'right' : 'left';
    if (!before) return null;
    return presentation === 'modal' ? 'up' : 'forward';
  }
}
