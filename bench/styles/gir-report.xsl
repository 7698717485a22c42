<!-- An overview of a library as GObject introspection describes it: its classes, what they descend from, their
     methods with signatures, and which types are used how often. -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform"
    xmlns:gi="http://www.gtk.org/introspection/core/1.0" xmlns:c="http://www.gtk.org/introspection/c/1.0"
    exclude-result-prefixes="gi c">
  <xsl:output method="html" encoding="UTF-8" indent="no"/>
  <xsl:key name="class" match="gi:class|gi:interface" use="@name"/>
  <xsl:key name="use" match="gi:parameter/gi:type" use="@name"/>

  <xsl:template match="/gi:repository">
    <html>
      <body>
        <h1><xsl:value-of select="gi:namespace/@name"/></h1>
        <xsl:apply-templates select="gi:namespace/gi:class|gi:namespace/gi:interface">
          <xsl:sort select="@name"/>
        </xsl:apply-templates>
      </body>
    </html>
  </xsl:template>

  <xsl:template match="gi:class|gi:interface">
    <h2 id="{@name}"><xsl:number count="gi:class|gi:interface" format="1. "/><xsl:value-of select="@c:type"/></h2>
    <p><xsl:apply-templates select="key('class', @parent)" mode="ancestors"/></p>
    <p>Used <xsl:value-of select="count(key('use', @name))"/> times.
      <xsl:value-of select="substring(normalize-space(gi:doc), 1, 200)"/></p>
    <ul>
      <xsl:apply-templates select="gi:method|gi:constructor|gi:function">
        <xsl:sort select="count(gi:parameters/*)" data-type="number" order="descending"/>
        <xsl:sort select="@name"/>
      </xsl:apply-templates>
    </ul>
  </xsl:template>

  <xsl:template match="*" mode="ancestors">
    <xsl:apply-templates select="key('class', @parent)" mode="ancestors"/>
    <a href="#{@name}"><xsl:value-of select="@name"/></a><xsl:text> / </xsl:text>
  </xsl:template>

  <xsl:template match="gi:method|gi:constructor|gi:function">
    <li>
      <xsl:if test="@deprecated"><b>deprecated </b></xsl:if>
      <xsl:value-of select="gi:return-value/*/@c:type"/><xsl:text> </xsl:text>
      <code><xsl:value-of select="@c:identifier"/></code>(<xsl:for-each select="gi:parameters/*">
        <xsl:if test="position() &gt; 1">, </xsl:if>
        <xsl:value-of select="concat(*/@c:type, ' ', translate(@name, '_', '-'))"/>
        <xsl:choose>
          <xsl:when test="@nullable = 1"> or NULL</xsl:when>
          <xsl:when test="starts-with(@direction, 'out')"> (out)</xsl:when>
        </xsl:choose>
      </xsl:for-each>)
    </li>
  </xsl:template>
</xsl:stylesheet>
