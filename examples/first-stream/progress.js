'use strict';

/** Live output to a terminal, in which the last line is rewritten, or line by line elsewhere. */
class Progress {
  #stream;
  #status = '';

  /** @param {NodeJS.WriteStream} stream */
  constructor(stream) {
    this.#stream = stream;
  }

  /** Prints a line that stays. @param {string} text */
  say(text) {
    if (!this.#stream.isTTY) this.#stream.write(`${text}\n`);
    else this.#stream.write(`\r\x1b[K${text}\n${this.#status}`);
  }

  /** @param {{name: string, seconds: number, payload?: {msg?: string, code?: number}}} event */
  event({ name, seconds, payload }) {
    const detail = payload?.code === undefined ? '' : ` ${payload.msg} (${payload.code})`;
    this.say(`${seconds.toFixed(2).padStart(7)} s  ${name}${detail}`);
  }

  /**
   * Prints the state of the stream once a second.
   *
   * @param {import('./live_session').PusherSession} session
   * @param {{status: () => Promise<{bytesIn: number}>}} server
   * @param {import('./frame_count').FrameCount} count
   * @returns {NodeJS.Timeout} to be cleared at the end
   */
  follow(session, server, count) {
    let before = { seconds: 0, bytesIn: 0 };
    return setInterval(async () => {
      const { bytesIn } = await server.status().catch(() => before);
      const now = { seconds: session.seconds, bytesIn };
      const kbits = ((now.bytesIn - before.bytesIn) * 8) / 1000 / (now.seconds - before.seconds);
      before = now;
      const { captured, delivered } = count.totals(session.deliveries);
      const frames =
        captured === 0
          ? "waiting for the server's first key frame"
          : `${captured} frames captured, ${delivered} delivered`;
      this.status(
        `${now.seconds.toFixed(2).padStart(7)} s  ${frames}, ${Math.round(kbits)} kbit/s at the server`,
      );
    }, 1000);
  }

  /**
   * Prints a status line, which the next one replaces. A terminal shows what fits into one line: of
   * a longer one the rest would stay.
   *
   * @param {string} status
   */
  status(status) {
    if (!this.#stream.isTTY) return void this.#stream.write(`${status}\n`);
    this.#status = status.slice(0, (this.#stream.columns || 80) - 1);
    this.#stream.write(`\r\x1b[K${this.#status}`);
  }

  /** Ends the status line. */
  end() {
    if (this.#status) this.#stream.write('\n');
    this.#status = '';
  }
}

module.exports = { Progress };
