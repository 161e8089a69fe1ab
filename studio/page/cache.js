/**
 * @typedef {{header: Object, blob: Blob, bitmap: ImageBitmap|null, shown: boolean, dropped: boolean}} Picture
 */

/** Frames that were drawn since the last edit, as they came and decoded; the least used go first. */
export class FrameCache {
  #pictures = new Map();
  #bytes = 0;

  /** In bytes. */
  limit = 512e6;

  /** @returns {number} of memory in use */
  get bytes() {
    return this.#bytes;
  }

  /** @param {string} view @param {number} frame @returns {Picture|null} */
  get(view, frame) {
    const key = `${view} ${frame}`;
    const picture = this.#pictures.get(key);
    if (!picture) return null;
    this.#pictures.delete(key);
    this.#pictures.set(key, picture);
    return picture;
  }

  /** @param {string} view @param {number} frame */
  has(view, frame) {
    return this.#pictures.has(`${view} ${frame}`);
  }

  /** @param {Picture} picture takes the place of a draft; a settled one stays */
  put(picture) {
    const key = `${picture.header.view} ${picture.header.frame}`;
    const old = this.#pictures.get(key);
    if (old && isSettled(old) && !isSettled(picture)) {
      picture.dropped = true;
      return;
    }
    if (old) this.#drop(key, old);
    this.#pictures.set(key, picture);
    this.#bytes += picture.blob.size;
    this.#shrink();
  }

  /**
   * Decodes, once.
   * @param {Picture} picture
   * @returns {Promise<ImageBitmap>}
   */
  async decode(picture) {
    if (picture.bitmap) return picture.bitmap;
    picture.decoding ??= createImageBitmap(picture.blob, { colorSpaceConversion: "none", premultiplyAlpha: "none" }).then((bitmap) => {
      picture.bitmap = bitmap;
      picture.decoding = null;
      if (this.#pictures.get(`${picture.header.view} ${picture.header.frame}`) === picture) {
        this.#bytes += sizeOf(picture);
        this.#shrink(picture);
      }
      return bitmap;
    });
    return picture.decoding;
  }

  /**
   * Decodes what may be shown soon. Failures show when it is.
   * @param {Picture} picture
   */
  async prepare(picture) {
    try {
      await this.decode(picture);
    } catch {
      return;
    }
    if (!picture.shown) this.release(picture);
  }

  /** Forgets all. What is shown keeps its pixels until it is released. */
  clear() {
    for (const [key, picture] of this.#pictures) this.#drop(key, picture);
  }

  /** @param {Picture|null} picture is on the screen no more, or is not going to be */
  release(picture) {
    if (!picture) return;
    picture.shown = false;
    if (picture.dropped) close(picture);
  }

  /** @param {(picture: Picture) => void} visit each frame of the fire that is kept */
  forEach(visit) {
    for (const picture of this.#pictures.values()) if (picture.header.view === "fire") visit(picture);
  }

  #shrink(keep) {
    for (const picture of this.#pictures.values()) {
      if (this.#bytes <= this.limit) return;
      if (!picture.bitmap || picture.shown || picture === keep) continue;
      this.#bytes -= sizeOf(picture);
      close(picture);
    }
    for (const [key, picture] of this.#pictures) {
      if (this.#bytes <= this.limit || this.#pictures.size === 1) return;
      this.#drop(key, picture);
    }
  }

  #drop(key, picture) {
    this.#pictures.delete(key);
    this.#bytes -= picture.blob.size + (picture.bitmap ? sizeOf(picture) : 0);
    picture.dropped = true;
    if (!picture.shown) close(picture);
  }
}

// Bitmaps are large, and collectors of garbage do not see how large.
function close(picture) {
  picture.bitmap?.close();
  picture.bitmap = null;
}

/** @param {Picture} picture @returns {boolean} whether it is lossless and whole */
export function isSettled(picture) {
  return picture.header.mime === "image/png";
}

const sizeOf = ({ header }) => header.width * header.height * 4;
